#include "RunCommand.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Conclusion.h"
#include "ErrorTexts.h"
#include "LocalTime.h"
#include "LogTail.h"
#include "NumberOption.h"
#include "PumpIntake.h"
#include "platform/Platform.h"

namespace host {

namespace {

using photometer::DWORD;

constexpr DWORD SimulatedCuvetteWait = 10;  // s
constexpr DWORD RemovalWait = 60;           // s

std::string FirmwareText(photometer::IPhotometer& device) {
  const photometer::DeviceStatus status = device.GetStatus();
  std::string text = photometer::platform::ToUtf8(status.szFirmwareVersion);
  text = text.substr(0, text.find_first_of("\r\n"));
  return text.substr(0, text.find_last_not_of(' ') + 1);
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

/// The cuvette of the last run does not count: it is waited for until another one has taken its place.
Outcome WaitForNewCuvette(Session& session, DWORD dwSeconds) {
  const Outcome outcome = session.HoldsMeasuredCuvette() ? session.WaitForEmptyHolder(dwSeconds) : Outcome::Finished;
  return outcome == Outcome::Finished ? session.WaitForCuvette(dwSeconds) : outcome;
}

ExitCode SayCancelled(Bench& bench) {
  bench.progress.Say("cancelled before the measurement");
  return ExitCode::Cancelled;
}

}  // namespace

void RunCommand::Join(Workplace& workplace) {
  m_pWorkplace = &workplace;
  m_board = workplace.Board();
  m_board.traceFile.clear();  // it is written already
  m_instrument = workplace.Instrument();
}

void RunCommand::AddOptions(CLI::App& app) {
  AddOwnOptions(app);
  if (TakesSample()) {
    AddIntegerOption(app, "--wait-for-cuvette", m_dwCuvetteWait, DWORD{0}, DWORD{86400},
                     "Wait at most so long, s, for a cuvette after the start-up; 0: measure at once");
  }
  if (IsLive()) {
    m_results.AddFormatTo(app);
  } else {
    m_results.AddTo(app);
  }
  if (!HasJoined()) {
    m_instrument.AddTo(app);
    m_board.AddTo(app);
  } else if (m_board.bSimulate && TakesSample()) {
    m_board.AddSampleTo(app);
  }
}

void RunCommand::Check() {
  Prepare();
  m_board.bForce = m_results.Force();
  m_board.Check();
  m_instrument.Check();
  m_board.CheckPumpFaults(m_instrument.Parameters().dwOperatingMode);
  CheckOwn();
  if (DrawsSample()) {
    AddSetting("pump", m_instrument.PumpText());
    AddSetting("pump_time_s", fmt::format("{}", m_instrument.Parameters().PumpTime));
    AddSetting("settling_time_s", fmt::format("{}", m_instrument.Parameters().DelayTime));
  }
  m_results.Check();
  m_results.CheckBeside("--trace", m_board.traceFile);
  // Only a line that is run changes what the others find.
  for (std::size_t i = 0; HasJoined() && i < m_neededZeros.size(); ++i) {
    m_pWorkplace->AddZero(m_neededZeros[i]);
  }
}

void RunCommand::KeepPumpParameters(DWORD dwPumpTime, DWORD dwPumpParam2) {
  m_instrument.SetPumpParameters(dwPumpTime, dwPumpParam2);
  if (HasJoined()) {
    m_pWorkplace->SetPumpParameters(dwPumpTime, dwPumpParam2);
  }
}

void RunCommand::NeedZero(double dWavelength) {
  m_instrument.AddZero(dWavelength);
  m_neededZeros.push_back(dWavelength);
}

ExitCode RunCommand::Run(Console& console) {
  if (HasJoined()) {
    return WriteResults(console, Perform(console, *m_pWorkplace));
  }
  Workplace own(m_board, m_instrument);
  if (!own.Open(console, NeededPort())) {
    return ExitCode::BadInput;
  }
  const ExitCode code = Perform(console, own);
  // The lamps are off from here on: results are written when nothing can go wrong with the instrument any more.
  own.EndSession();
  return own.Close(console, WriteResults(console, code));
}

ExitCode RunCommand::WriteResults(Console& console, ExitCode code) {
  m_header.strOutcome = OutcomeWord(code);
  bool bWritten = true;
  if (!IsLive() && (HasResults() || m_results.Format() == OutputFormat::Json)) {
    bWritten = m_results.WriteResults(Results(), console);
  }
  if (const std::optional<Plot> plot = Picture(); plot && m_results.WantsPlot()) {
    bWritten = m_results.WritePlot(*plot, console) && bWritten;
  }
  if (code == ExitCode::Success) {
    code = Judge(console);
  }
  const bool bGood = code == ExitCode::Success || code == ExitCode::CheckFailed;
  return bGood && !bWritten ? ExitCode::OutputFailed : code;
}

ExitCode RunCommand::Perform(Console& console, Workplace& workplace) {
  m_header.strInstrument = workplace.Description();
  m_header.strSettingsFile = workplace.Instrument().SettingsPath();
  m_header.strHostFile = workplace.Instrument().HostFilePath();
  m_header.strSample = m_results.Label();
  if (m_header.strSample.empty() && m_board.bSimulate && TakesSample()) {
    m_header.strSample = m_board.sample;
  }
  if (!workplace.MakeSession(console)) {
    return ExitCode::StartUpFailed;
  }
  m_header.strTime = LocalTimeText();
  Bench bench = workplace.BenchFor(console);
  ExitCode code = StartUp(bench, workplace);
  if (code == ExitCode::Success) {
    code = PrepareHolder(bench);
  }
  if (code == ExitCode::Success) {
    bench.session.TellNews();
    code = Operate(bench);
  }
  bench.progress.EndRun();
  return code;
}

ExitCode RunCommand::StartUp(Bench& bench, Workplace& workplace) {
  // A joined instrument stays on, so that another command may mend it.
  const bool bStayOn = HasJoined() || GoesOnAfterFailedStartUp();
  const RunEnd end = workplace.StartUp(bStayOn ? AfterFailure::StayOn : AfterFailure::ShutDown);
  m_header.strFirmware = FirmwareText(bench.session.Device());
  m_startUpError = end.error;
  if (end.outcome == Outcome::Failed && GoesOnAfterFailedStartUp()) {
    bench.progress.Say(fmt::format("the start-up was not passed; \"{}\" goes on all the same", m_header.strKind));
    return ExitCode::Success;
  }
  m_header.error = end.error;
  const ExitCode code = Conclude(end, "start-up", ExitCode::StartUpFailed, bench.progress);
  if (code != ExitCode::Success && HasJoined()) {
    bench.progress.Say("\"start-up\" starts it up again");
  }
  return code;
}

ExitCode RunCommand::PrepareHolder(Bench& bench) const {
  if (m_holder == Holder::Empty) {
    // A start-up of its own has just asked for the empty holder.
    return HasJoined() ? EmptyHolder(bench) : ExitCode::Success;
  }
  const ExitCode code = TakesSample() ? InsertSample(bench) : ExitCode::Success;
  if (code != ExitCode::Success || !DrawsSample()) {
    return code;
  }
  return HasFlowCuvette(bench.session, bench.progress) ? ConnectPump(m_instrument, bench.session, bench.progress)
                                                       : ExitCode::NoCuvette;
}

ExitCode RunCommand::EmptyHolder(Bench& bench) const {
  if (bench.board.Simulated() != nullptr) {
    bench.board.Simulated()->RemoveSample();
  } else if (bench.session.Device().GetCuvetteSize() > 0) {
    bench.progress.Say(fmt::format("please remove the cuvette within {} s", RemovalWait));
  }
  const Outcome outcome = bench.session.WaitForEmptyHolder(RemovalWait);
  if (outcome == Outcome::NoEnd) {
    bench.progress.Say(fmt::format("the cuvette was not removed within {} s; nothing was measured", RemovalWait));
    return ExitCode::Refused;
  }
  return outcome == Outcome::Cancelled ? SayCancelled(bench) : ExitCode::Success;
}

ExitCode RunCommand::InsertSample(Bench& bench) const {
  Progress& progress = bench.progress;
  // In the replay of a simulated run it is there by itself.
  const bool bSimulated = m_board.bSimulate;
  if (SimulatedInstrument* pSimulated = bench.board.Simulated()) {
    DrawsSample() ? pSimulated->OfferSample(m_board.sample) : pSimulated->InsertSample(m_board.sample);
  } else if (!bSimulated && m_dwCuvetteWait == 0) {
    if (!DrawsSample() && bench.session.Device().GetCuvetteState() <= 0) {
      progress.Say("no cuvette is inserted: the empty holder is measured (--wait-for-cuvette SECONDS waits for one)");
    }
    return ExitCode::Success;
  } else if (!bSimulated) {
    const bool bChange = !DrawsSample() && bench.session.HoldsMeasuredCuvette();
    progress.Say(fmt::format("please {} the {} within {} s", bChange ? "change" : "insert",
                             DrawsSample() ? "flow cuvette" : "cuvette", m_dwCuvetteWait));
  }
  const DWORD dwSeconds = bSimulated ? SimulatedCuvetteWait : m_dwCuvetteWait;
  // A flow cuvette stays in the holder: the pump brings the next sample.
  const Outcome outcome = bSimulated || DrawsSample() ? bench.session.WaitForCuvette(dwSeconds)
                                                      : WaitForNewCuvette(bench.session, dwSeconds);
  if (outcome == Outcome::NoEnd) {
    progress.Say(fmt::format("no cuvette was inserted within {} s; nothing was measured", dwSeconds));
    return ExitCode::NoCuvette;
  }
  if (outcome == Outcome::Cancelled || bench.console.interrupt.Count() > 0) {
    return SayCancelled(bench);
  }
  return ExitCode::Success;
}

ExitCode RunCommand::RunOperation(Bench& bench, const char* what, const StartOperation& start,
                                  const EventHandler& handler, EndNotice notice) {
  const LogTail log;
  const RunEnd end = bench.session.Run(start, handler, notice);
  m_header.error = end.error;
  if (end.outcome == Outcome::NoEnd && bench.session.IsOn()) {
    // Of all ends a failed pump cycle is the one that the device tells in its log alone.
    m_header.error = log.PumpError();
    const std::string why = DrawsSample() ? fmt::format("the pump {} did not finish its cycle", m_instrument.PumpText())
                                          : "no reason is known";
    bench.progress.Say(fmt::format("{} ended without telling how: {}. Photometer.log of the instrument:\n{}{}", what,
                                   why, log.LastLines(),
                                   m_header.error ? ExplainError(*m_header.error) : "the log tells no number"));
    return ExitCode::NoEnd;
  }
  return Conclude(end, what, ExitCode::InstrumentError, bench.progress);
}

ExitCode RunCommand::Refuse(Bench& bench, const char* what, HRESULT hResult) {
  return Conclude({Outcome::Refused, std::nullopt, hResult}, what, ExitCode::InstrumentError, bench.progress);
}

ExitCode RunCommand::ConcludeAttended(Bench& bench, const char* what, Outcome outcome, const std::string& failure) {
  if (outcome == Outcome::Finished) {
    bench.progress.Say(failure);
    return ExitCode::InstrumentError;
  }
  return Conclude({outcome, std::nullopt, photometer::S_OK}, what, ExitCode::InstrumentError, bench.progress);
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
