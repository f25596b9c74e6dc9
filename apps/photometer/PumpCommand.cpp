#include "PumpCommand.h"

#include <charconv>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "PumpIntake.h"
#include "PumpState.h"
#include "photometer/Requests.h"
#include "platform/Platform.h"

namespace host {

namespace {

namespace layer = photometer::platform;

constexpr DWORD LargestParameter = 999;
// The exchange is begun by a thread of the device, ms.
constexpr DWORD SettingTime = 1000;
// The ZQ-420 answers at once, s.
constexpr DWORD AnswerTime = 1;
// After 60 s without an answer the device gives up, s.
constexpr DWORD SettingLimit = 65;

/// "7,120"; nothing for another text.
std::optional<std::pair<DWORD, DWORD>> ParsePair(const std::string& text) {
  std::pair<DWORD, DWORD> values;
  const char* pEnd = text.data() + text.size();
  const auto [pComma, error] = std::from_chars(text.data(), pEnd, values.first);
  if (error != std::errc() || pComma == pEnd || *pComma != ',') {
    return std::nullopt;
  }
  const auto [pStop, otherError] = std::from_chars(pComma + 1, pEnd, values.second);
  const bool bGood = otherError == std::errc() && pStop == pEnd && values.first <= LargestParameter &&
                     values.second <= LargestParameter;
  return bGood ? std::optional(values) : std::nullopt;
}

}  // namespace

void PumpCommand::AddOwnOptions(CLI::App& app) {
  app.add_option("--set", m_strSet, "Give the pump another pump time (s) and second parameter, 0 to 999 each")
      ->type_name("TIME,PARAMETER");
  app.add_flag("--step", m_bStep, "Run a cycle as before a measurement: parameters, pumping, settling");
}

void PumpCommand::Prepare() {
  if (!m_bStep) {
    LeaveHolder();
  }
}

void PumpCommand::CheckOwn() {
  RequirePump(m_instrument, HasJoined());
  m_set = ParsePair(m_strSet);
  if (!m_strSet.empty() && !m_set) {
    throw CLI::ValidationError(
        "--set", fmt::format("\"{}\" cannot be used; give two whole numbers from 0 to 999, as 7,120", m_strSet));
  }
}

ExitCode PumpCommand::Operate(Bench& bench) {
  // For a cycle the pump has been waited for with its cuvette.
  ExitCode code = m_bStep ? ExitCode::Success : ConnectPump(m_instrument, bench.session, bench.progress);
  if (code == ExitCode::Success) {
    code = LearnPump(m_instrument, bench.session, bench.progress);
  }
  if (code == ExitCode::Success && m_set) {
    code = Set(bench);
  }
  if (code == ExitCode::Success && m_bStep) {
    code = Step(bench);
    AskRunTime(bench);
  }
  m_rows = PumpRows(bench.session.Device(), m_instrument);
  const photometer::PhotometerParameters& params = m_instrument.Parameters();
  m_rows.push_back({"pump time", static_cast<double>(params.PumpTime), "s"});
  m_rows.push_back({"second parameter", static_cast<double>(params.PumpParam2), ""});
  m_rows.push_back({"settling time", static_cast<double>(params.DelayTime), "s"});
  return code;
}

void PumpCommand::AskRunTime(Bench& bench) const {
  if (m_instrument.HasZQ420()) {
    const std::string before = bench.session.Device().GetPumpInfo().m_strSipperRunTime;
    bench.session.Device().RequestSipperRunTime();
    bench.session.WaitUntil(
        [&before](photometer::IPhotometer& device) { return device.GetPumpInfo().m_strSipperRunTime != before; },
        AnswerTime);
  }
}

ExitCode PumpCommand::Set(Bench& bench) {
  photometer::IPhotometer& device = bench.session.Device();
  if (const HRESULT hResult = device.UpdatePumpParameters(m_set->first, m_set->second); hResult != photometer::S_OK) {
    return Refuse(bench, "the change of the parameters", hResult);
  }
  KeepPumpParameters(m_set->first, m_set->second);
  if (m_instrument.HasZQ420()) {
    bench.progress.Say("the ZQ-420 itself takes no parameters: the device keeps the pump time for the next runs");
    return ExitCode::Success;
  }
  bool bLost = false;
  const DWORD dwStart = layer::GetTickCount();
  const auto take = [this, &bench, &bLost](const HostEvent& event) {
    bench.progress.Show(event);
    const auto* pError = std::get_if<InstrumentError>(&event);
    const auto* pConnection = std::get_if<PumpConnection>(&event);
    m_header.error = pError != nullptr ? std::optional(pError->iNumber) : m_header.error;
    bLost = bLost || (pConnection != nullptr && !pConnection->bConnected);
  };
  // The device tells a failure, and nothing when the pump has acknowledged.
  const auto isOver = [&] {
    const bool bIdle = device.GetPumpInfo().m_bPumpCapture == 0;
    return m_header.error || bLost || (bIdle && layer::GetTickCount() - dwStart >= SettingTime);
  };
  const Outcome outcome = bench.session.Attend({take, isOver, [] {}, SettingLimit});
  if (outcome == Outcome::Finished && !m_header.error && !bLost) {
    bench.progress.Say(
        fmt::format("the pump has acknowledged pump time {} s, second parameter {}", m_set->first, m_set->second));
    return ExitCode::Success;
  }
  return ConcludeAttended(bench, "the change of the parameters", outcome,
                          "the pump has not acknowledged its parameters");
}

ExitCode PumpCommand::Step(Bench& bench) {
  // Without a wavelength a measurement is its pump step alone.
  photometer::MeasureRequest request{};
  request.m_dwRequestId = 1;
  request.m_dLampSwitchingPoint = m_instrument.SwitchingPoint();
  request.m_dwReadings = 1;
  request.m_bPumpDefaults = photometer::TRUE;
  return RunOperation(
      bench, "the pump cycle", [&request](photometer::IPhotometer& device) { return device.StartMeasure(&request); },
      [](const HostEvent&) {});
}

}  // namespace host
