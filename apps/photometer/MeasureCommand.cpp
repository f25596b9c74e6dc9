#include "MeasureCommand.h"

#include <algorithm>
#include <cmath>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "NumberOption.h"
#include "simulator/Detector.h"

namespace host {

namespace {

constexpr DWORD RequestId = 1;
constexpr const char* DemoWavelengths = "340,380,436,480,525,580,620,740,885,1000";
// Beyond this the demonstration has not shown what it was to show.
constexpr double GreatestDeviation = 5.0;

}  // namespace

void MeasureCommand::AddOwnOptions(CLI::App& app) {
  app.add_option("--wavelengths", m_strWavelengths, "Wavelengths in nm, measured in this order: 345,436.5,525")
      ->type_name("LIST");
  AddIntegerOption(app, "--readings", m_dwReadings, DWORD{1}, DWORD{1000}, "Readings at each wavelength");
  m_references.AddTo(app);
  if (!HasJoined()) {
    app.add_flag("--demo", m_bDemo, "Measure a known sample on the simulated instrument, and compare");
  }
}

void MeasureCommand::Prepare() {
  if (!m_bDemo) {
    return;
  }
  if (!m_board.boardFile.empty()) {
    throw CLI::ValidationError("--demo", "measures with a simulated instrument; leave out --board");
  }
  m_board.bSimulate = true;
  // With stray light the instrument would rightly find less than the sample's own absorbance.
  m_board.strayLight = 0;
  if (m_strWavelengths.empty()) {
    m_strWavelengths = DemoWavelengths;
    m_dwReadings = std::max<DWORD>(m_dwReadings, 3);
  }
}

void MeasureCommand::CheckOwn() {
  if (m_strWavelengths.empty()) {
    throw CLI::ValidationError("--wavelengths", "is missing; give a list in nm, as --wavelengths 345,436.5,525");
  }
  m_wavelengths = WavelengthsOfOption("--wavelengths", m_strWavelengths, m_instrument.LowestWavelength(),
                                      m_instrument.HighestWavelength());
  if (m_bDemo) {
    m_instrument.ProposeZeros(m_wavelengths);
  }
  m_references.Check();
  m_references.CheckWavelengths(m_wavelengths);
  m_header.strReference = m_references.Description();
  AddSetting("wavelengths", m_strWavelengths);
  AddSetting("readings", fmt::format("{}", m_dwReadings));
  AddSetting("switching_point", fmt::format("{}", m_instrument.SwitchingPoint()));
}

ExitCode MeasureCommand::Operate(Bench& bench) {
  const photometer::MeasureRequest request = Request();
  const auto take = [this](const HostEvent& event) {
    if (const auto* pResults = std::get_if<host::Results>(&event)) {
      m_report.Add(pResults->values);
    }
  };
  const ExitCode code = RunOperation(
      bench, "measurement", [&request](photometer::IPhotometer& device) { return device.StartMeasure(&request); },
      take);
  m_references.TakeZeros(bench.session.Device(), m_instrument);
  AddReferences();
  if (m_bDemo && bench.board.Simulated() != nullptr) {
    AddExpectations(*bench.board.Simulated());
  }
  return code;
}

std::string MeasureCommand::Results() const { return FormatReport(m_header, m_report, m_results.Format()); }

ExitCode MeasureCommand::Judge(Console& console) const {
  if (m_report.LargestDeviation() > GreatestDeviation) {
    console.messages << "the measured absorbances differ from the sample's by more than noise can explain\n";
    return ExitCode::InternalFault;
  }
  return ExitCode::Success;
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

void MeasureCommand::AddReferences() {
  for (MeasuredWavelength& measured : m_report.wavelengths) {
    measured.zero = m_references.At(measured.dWavelength);
    if (measured.zero) {
      continue;
    }
    if (measured.dWavelength < m_instrument.SwitchingPoint()) {
      measured.strWhyNot =
          "below the lamp switching point the start-up measures no zero value: measure a blank, and give it with "
          "--blank";
    } else {
      measured.strWhyNot =
          fmt::format("no zero value at this wavelength: add {} to --zeros, or give a --blank", measured.dWavelength);
    }
  }
}

void MeasureCommand::AddExpectations(const SimulatedInstrument& instrument) {
  for (MeasuredWavelength& measured : m_report.wavelengths) {
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
