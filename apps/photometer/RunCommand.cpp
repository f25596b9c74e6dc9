#include "RunCommand.h"

#include <fmt/format.h>

#include "ErrorTexts.h"
#include "NumberOption.h"
#include "platform/Platform.h"

namespace host {

namespace {

using photometer::DWORD;

constexpr DWORD SimulatedCuvetteWait = 10;  // s

std::string FirmwareText(photometer::IPhotometer& device) {
  const photometer::DeviceStatus status = device.GetStatus();
  const std::string text = photometer::platform::ToUtf8(status.szFirmwareVersion);
  return text.substr(0, text.find_first_of("\r\n"));
}

std::string LocalTimeText() {
  photometer::platform::SYSTEMTIME time{};
  photometer::platform::GetLocalTime(&time);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", time.wYear, time.wMonth, time.wDay, time.wHour,
                     time.wMinute, time.wSecond);
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

std::string OutcomeWord(ExitCode code) {
  // A value beyond its limit is a result, not an end.
  if (code == ExitCode::Success || code == ExitCode::CheckFailed) {
    return OutcomeFinished;
  }
  for (const ExitCodeEntry& entry : ExitCodes()) {
    if (entry.code == code) {
      return std::string(entry.name);
    }
  }
  return "unknown";
}

}  // namespace

void RunCommand::AddOptions(CLI::App& app) {
  AddOwnOptions(app);
  if (m_holder == Holder::Sample) {
    AddIntegerOption(app, "--wait-for-cuvette", m_dwCuvetteWait, DWORD{0}, DWORD{86400},
                     "Wait at most so long, s, for a cuvette after the start-up; 0: measure at once");
  }
  m_results.AddTo(app);
  m_instrument.AddTo(app);
  m_board.AddTo(app);
}

void RunCommand::Check() {
  Prepare();
  m_board.Check();
  m_instrument.Check();
  CheckOwn();
  m_results.Check();
}

ExitCode RunCommand::Run(Console& console) {
  HostBoard board;
  if (const std::string complaint = board.Open(m_board, m_instrument.Parameters()); !complaint.empty()) {
    console.messages << "photometer: " << complaint << "\nNothing was started.\n";
    return ExitCode::BadInput;
  }
  m_header.strInstrument = board.Description();
  m_header.strSample = m_results.Label();
  if (m_header.strSample.empty() && m_board.bSimulate && m_holder == Holder::Sample) {
    m_header.strSample = m_board.sample;
  }
  const ExitCode code = Perform(console, board);
  // The lamps are off by now: results are written when nothing can go wrong with the instrument any more.
  m_header.strOutcome = OutcomeWord(code);
  return Write(console, board, code);
}

ExitCode RunCommand::Write(Console& console, HostBoard& board, ExitCode code) {
  bool bWritten = true;
  if (HasResults() || m_results.Format() == OutputFormat::Json) {
    bWritten = m_results.WriteResults(Results(), console);
  }
  if (const std::optional<Plot> plot = Picture(); plot && m_results.WantsPlot()) {
    bWritten = m_results.WritePlot(*plot, console) && bWritten;
  }
  if (code == ExitCode::Success) {
    code = Judge(console);
  }
  for (const std::string& fault : board.Faults()) {
    console.messages << "internal fault: " << fault << "\n";
    code = ExitCode::InternalFault;
  }
  if (!board.CloseTrace()) {
    console.messages << "the trace could not be written: is the disk full?\n";
    bWritten = false;
  }
  const bool bGood = code == ExitCode::Success || code == ExitCode::CheckFailed;
  return bGood && !bWritten ? ExitCode::OutputFailed : code;
}

ExitCode RunCommand::Perform(Console& console, HostBoard& board) {
  Progress progress(console.messages, console.bTerminal, photometer::platform::GetTickCount);
  Session session(progress, console.interrupt, board.Transcript());
  if (!session.HasDevice()) {
    progress.Say("the device could not be made: out of memory");
    return ExitCode::StartUpFailed;
  }
  m_header.strTime = LocalTimeText();
  Bench bench{console, progress, board, session};
  ExitCode code = StartUp(bench);
  if (code == ExitCode::Success) {
    code = PrepareHolder(bench);
  }
  return code == ExitCode::Success ? Operate(bench) : code;
}

ExitCode RunCommand::StartUp(Bench& bench) {
  bench.progress.Say("start-up");
  const AfterFailure after = GoesOnAfterFailedStartUp() ? AfterFailure::StayOn : AfterFailure::ShutDown;
  const RunEnd end = bench.session.StartUp(m_instrument.Parameters(), m_instrument.Calibration(), after);
  m_header.strFirmware = FirmwareText(bench.session.Device());
  if (end.outcome == Outcome::Failed && GoesOnAfterFailedStartUp()) {
    bench.progress.Say("the start-up was not passed; the test goes on all the same");
    return ExitCode::Success;
  }
  m_header.error = end.error;
  return Conclude(end, "start-up", ExitCode::StartUpFailed, bench.progress);
}

ExitCode RunCommand::PrepareHolder(Bench& bench) const {
  if (bench.board.Simulated() != nullptr) {
    bench.board.Simulated()->BreakParts();
  }
  return m_holder == Holder::Sample ? InsertSample(bench) : ExitCode::Success;
}

ExitCode RunCommand::InsertSample(Bench& bench) const {
  Progress& progress = bench.progress;
  if (bench.board.Simulated() != nullptr) {
    bench.board.Simulated()->InsertSample();
  } else if (m_dwCuvetteWait == 0) {
    if (bench.session.Device().GetCuvetteState() <= 0) {
      progress.Say("no cuvette is inserted: the empty holder is measured (--wait-for-cuvette SECONDS waits for one)");
    }
    return ExitCode::Success;
  } else {
    progress.Say(fmt::format("please insert the cuvette within {} s", m_dwCuvetteWait));
  }
  const DWORD dwSeconds = bench.board.Simulated() != nullptr ? SimulatedCuvetteWait : m_dwCuvetteWait;
  const Outcome outcome = bench.session.WaitForCuvette(dwSeconds);
  if (outcome == Outcome::NoEnd) {
    progress.Say(fmt::format("no cuvette was inserted within {} s; nothing was measured", dwSeconds));
    return ExitCode::NoCuvette;
  }
  if (outcome == Outcome::Cancelled || bench.console.interrupt.Count() > 0) {
    progress.Say("cancelled before the measurement");
    return ExitCode::Cancelled;
  }
  return ExitCode::Success;
}

ExitCode RunCommand::RunOperation(Bench& bench, const char* what, const StartOperation& start,
                                  const EventHandler& handler, EndNotice notice) {
  const RunEnd end = bench.session.Run(start, handler, notice);
  m_header.error = end.error;
  return Conclude(end, what, ExitCode::InstrumentError, bench.progress);
}

std::string RunCommand::Subtitle() const {
  std::string date = m_header.strTime.substr(0, 16);
  if (date.size() > 10) {
    date[10] = ' ';
  }
  std::string subtitle = m_header.strSample.empty() ? std::string() : "sample: " + m_header.strSample + "   ";
  subtitle += fmt::format("date: {}   instrument: {} ({})", date, m_header.strFirmware, m_header.strInstrument);
  return m_header.strOutcome == OutcomeFinished ? subtitle : subtitle + "   " + m_header.strOutcome;
}

}  // namespace host
