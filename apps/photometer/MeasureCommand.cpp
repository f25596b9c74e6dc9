#include "MeasureCommand.h"

#include <algorithm>
#include <cmath>
#include <map>
#include <string>

#include <fmt/format.h>

#include "ErrorTexts.h"
#include "HostBoard.h"
#include "NumberOption.h"
#include "Progress.h"
#include "Session.h"
#include "platform/Platform.h"
#include "simulator/Detector.h"

namespace host {

namespace {

constexpr DWORD RequestId = 1;
constexpr const char* DemoWavelengths = "340,380,436,480,525,580,620,740,885,1000";
// Beyond this the demonstration has not shown what it was to show.
constexpr double GreatestDeviation = 5.0;

const std::map<std::string, OutputFormat> FormatNames = {
    {"table", OutputFormat::Table}, {"csv", OutputFormat::Csv}, {"json", OutputFormat::Json}};

std::string FirmwareText(photometer::IPhotometer& device) {
  const photometer::DeviceStatus status = device.GetStatus();
  const std::string text = photometer::platform::ToUtf8(status.szFirmwareVersion);
  return text.substr(0, text.find_first_of("\r\n"));
}

/// What the end of a start-up or run means for the program, with a message for a person.
ExitCode Conclude(const RunEnd& end, const char* what, ExitCode onFailure, Progress& progress) {
  switch (end.outcome) {
    case Outcome::Finished:
      return ExitCode::Success;
    case Outcome::Cancelled:
      progress.Say(fmt::format("{} cancelled", what));
      return ExitCode::Cancelled;
    case Outcome::Failed:
      progress.Say(end.error ? fmt::format("{} failed with error {}", what, *end.error)
                             : fmt::format("{} failed without telling an error; look into Photometer.log", what));
      return onFailure;
    case Outcome::Refused:
      progress.Say(fmt::format("{} was refused: {}", what, ExplainResult(end.hResult)));
      return onFailure == ExitCode::StartUpFailed ? onFailure : ExitCode::Refused;
    case Outcome::NoEnd:
      break;
  }
  progress.Say(fmt::format("{} ended without telling how; look into Photometer.log of the instrument", what));
  return ExitCode::NoEnd;
}

const char* OutcomeWord(ExitCode code) {
  for (const ExitCodeEntry& entry : ExitCodes()) {
    if (entry.code == code && code != ExitCode::Success) {
      return entry.name.data();
    }
  }
  return "finished";
}

}  // namespace

void MeasureCommand::AddOptions(CLI::App& app) {
  app.add_option("--wavelengths", m_strWavelengths, "Wavelengths in nm, measured in this order: 345,436.5,525")
      ->type_name("LIST");
  AddIntegerOption(app, "--readings", m_dwReadings, DWORD{1}, DWORD{1000}, "Readings at each wavelength");
  AddIntegerOption(app, "--wait-for-cuvette", m_dwCuvetteWait, DWORD{0}, DWORD{86400},
                   "Wait at most so long, s, for a cuvette after the start-up; 0: measure at once");
  app.add_option_function<std::string>(
         "--format", [this](const std::string& name) { m_format = FormatNames.at(name); }, "Form of the results")
      ->check(CLI::IsMember(FormatNames).description(""))
      ->type_name("table|csv|json")
      ->default_str("table");
  app.add_flag("--demo", m_bDemo, "Measure a known sample on the simulated instrument, and compare");
  m_instrument.AddTo(app);
  m_board.AddTo(app);
}

void MeasureCommand::PrepareDemo() {
  m_board.bSimulate = true;
  // With stray light the instrument would rightly find less than the sample's own absorbance.
  m_board.strayLight = 0;
  if (m_strWavelengths.empty()) {
    m_strWavelengths = DemoWavelengths;
    m_dwReadings = std::max<DWORD>(m_dwReadings, 3);
  }
}

void MeasureCommand::Check() {
  if (m_bDemo) {
    PrepareDemo();
  }
  m_board.Check();
  m_instrument.Check();
  if (m_strWavelengths.empty()) {
    throw CLI::ValidationError("--wavelengths", "is missing; give a list in nm, as --wavelengths 345,436.5,525");
  }
  m_wavelengths = WavelengthsOfOption("--wavelengths", m_strWavelengths, m_instrument.LowestWavelength(),
                                      m_instrument.HighestWavelength());
  if (m_bDemo) {
    m_instrument.ProposeZeros(m_wavelengths);
  }
}

ExitCode MeasureCommand::Run(Console& console) {
  HostBoard board;
  if (const std::string complaint = board.Open(m_board, m_instrument.Parameters()); !complaint.empty()) {
    console.messages << "photometer: " << complaint << "\nNothing was started.\n";
    return ExitCode::BadInput;
  }
  MeasureReport report;
  ExitCode code = Measure(console, board, report);
  // The lamps are off by now: results are written when nothing can go wrong with the instrument any more.
  report.strOutcome = OutcomeWord(code);
  if (!report.wavelengths.empty() || m_format == OutputFormat::Json) {
    console.results << FormatReport(report, m_format) << std::flush;
  }
  if (const std::optional<double> deviation = report.LargestDeviation(); deviation > GreatestDeviation) {
    console.messages << "the measured absorbances differ from the sample's by more than noise can explain\n";
    code = ExitCode::InternalFault;
  }
  for (const std::string& fault : board.Faults()) {
    console.messages << "internal fault: " << fault << "\n";
    code = ExitCode::InternalFault;
  }
  const bool bTraced = board.CloseTrace();
  if ((!bTraced || !console.results) && code == ExitCode::Success) {
    console.messages << (bTraced ? "the results" : "the trace") << " could not be written: is the disk full?\n";
    code = ExitCode::OutputFailed;
  }
  return code;
}

ExitCode MeasureCommand::Measure(Console& console, HostBoard& board, MeasureReport& report) {
  Progress progress(console.messages, console.bTerminal);
  Session session(progress, console.interrupt, board.Transcript());
  if (!session.HasDevice()) {
    progress.Say("the device could not be made: out of memory");
    return ExitCode::StartUpFailed;
  }
  progress.Say("start-up");
  const RunEnd end = session.StartUp(m_instrument.Parameters(), m_instrument.Calibration());
  report.error = end.error;
  report.strFirmware = FirmwareText(session.Device());
  ExitCode code = Conclude(end, "start-up", ExitCode::StartUpFailed, progress);
  if (code == ExitCode::Success) {
    code = PresentSample(console, progress, board, session);
  }
  if (code == ExitCode::Success) {
    code = RunMeasurement(progress, session, report);
    AddZeroValues(session, report);
  }
  if (m_bDemo && board.Simulated() != nullptr) {
    AddExpectations(*board.Simulated(), report);
  }
  return code;
}

ExitCode MeasureCommand::PresentSample(Console& console, Progress& progress, HostBoard& board, Session& session) {
  if (board.Simulated() != nullptr) {
    board.Simulated()->InsertSample();
  } else if (m_dwCuvetteWait == 0) {
    if (session.Device().GetCuvetteState() <= 0) {
      progress.Say("no cuvette is inserted: the empty holder is measured (--wait-for-cuvette SECONDS waits for one)");
    }
    return ExitCode::Success;
  } else {
    progress.Say(fmt::format("please insert the cuvette within {} s", m_dwCuvetteWait));
  }
  const DWORD dwSeconds = board.Simulated() != nullptr ? 10 : m_dwCuvetteWait;
  const Outcome outcome = session.WaitForCuvette(dwSeconds);
  if (outcome == Outcome::NoEnd) {
    progress.Say(fmt::format("no cuvette was inserted within {} s; nothing was measured", dwSeconds));
    return ExitCode::NoCuvette;
  }
  if (outcome == Outcome::Cancelled || console.interrupt.Count() > 0) {
    progress.Say("cancelled before the measurement");
    return ExitCode::Cancelled;
  }
  return ExitCode::Success;
}

ExitCode MeasureCommand::RunMeasurement(Progress& progress, Session& session, MeasureReport& report) {
  const photometer::MeasureRequest request = Request();
  const auto take = [&report](const HostEvent& event) {
    if (const auto* pResults = std::get_if<Results>(&event)) {
      report.Add(pResults->values);
    }
  };
  const RunEnd end =
      session.Run([&request](photometer::IPhotometer& device) { return device.StartMeasure(&request); }, take);
  report.error = end.error;
  return Conclude(end, "measurement", ExitCode::InstrumentError, progress);
}

photometer::MeasureRequest MeasureCommand::Request() const {
  photometer::MeasureRequest request{};
  request.m_dwRequestId = RequestId;
  request.m_dLampSwitchingPoint = m_instrument.SwitchingPoint();
  request.m_dwReadings = m_dwReadings;
  request.m_bPumpDefaults = photometer::TRUE;
  request.m_Wavelengths = m_wavelengths;
  for (std::size_t i = 0; i < m_wavelengths.size(); ++i) {
    request.m_Tags.push_back(static_cast<DWORD>(i));
  }
  return request;
}

void MeasureCommand::AddZeroValues(Session& session, MeasureReport& report) const {
  for (MeasuredWavelength& measured : report.wavelengths) {
    if (measured.dWavelength < m_instrument.SwitchingPoint()) {
      measured.strWhyNot =
          "below the lamp switching point the start-up measures no zero value; --blank will serve in a "
          "later version";
      continue;
    }
    photometer::WavelengthCalibrationEntry entry{};
    if (session.Device().GetWavelengthCalibration(measured.dWavelength, &entry) != photometer::S_OK) {
      measured.strWhyNot = fmt::format(
          "no zero value at this wavelength: add {} to --zeros; --blank will serve in a "
          "later version",
          measured.dWavelength);
      continue;
    }
    measured.zero = DetectorPair{entry.dValue, entry.dValueRef};
  }
}

void MeasureCommand::AddExpectations(const SimulatedInstrument& instrument, MeasureReport& report) const {
  for (MeasuredWavelength& measured : report.wavelengths) {
    if (!measured.zero || measured.readings.empty()) {
      continue;
    }
    const DetectorPair zero = *measured.zero;
    const double dAbsorbance = instrument.TrueAbsorbance(measured.dwPosition);
    const double dReference = measured.Mean().dReference;
    const double dSample = zero.dSample / zero.dReference * dReference * std::pow(10.0, -dAbsorbance);
    simulator::AbsorbanceConditions conditions;
    conditions.bHighGain = measured.dWavelength < m_instrument.Parameters().LowerFilterWL;
    // The formula is that of a pair of readings; a pair with itself gives twice the variance of one side of it. The
    // readings are averaged, the zero value is one for all of them.
    const double dValue = simulator::AbsorbanceStandardDeviation(dSample, dReference, dSample, dReference, conditions);
    const double dZero = simulator::AbsorbanceStandardDeviation(zero.dSample, zero.dReference, zero.dSample,
                                                                zero.dReference, conditions);
    const double dReadings = static_cast<double>(measured.readings.size());
    measured.expected = Expectation{dAbsorbance, std::sqrt((dValue * dValue / dReadings + dZero * dZero) / 2)};
  }
}

}  // namespace host
