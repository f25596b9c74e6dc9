#include "LampCommand.h"

#include <limits>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Duration.h"
#include "NumberOption.h"
#include "ResultTable.h"
#include "platform/Platform.h"

namespace host {

namespace {

namespace layer = photometer::platform;

constexpr const char* On = "on";
constexpr const char* Off = "off";
constexpr DWORD LongestWarmUp = 3600;
constexpr DWORD LongestStay = 7 * 24 * 3600;
// The warm-up's other commands, each given up after 60 s of silence, s.
constexpr DWORD WarmUpReserve = 300;
constexpr DWORD PlainWarmUp = 90;
constexpr DWORD SessionWarmUp = 600;

}  // namespace

void LampCommand::AddOwnOptions(CLI::App& app) {
  app.add_option("state", m_strState, "on: light the lamp and stay until it is off; off: switch it off")
      ->type_name("on|off");
  AddIntegerOption(app, "--session", m_dwSession, DWORD{0}, std::numeric_limits<DWORD>::max(),
                   "Number of a session: the lamp is not switched off when idle, but after ten hours; 0: none");
  AddDurationOption(app, "--warm-up", m_dwWarmUp, 1, LongestWarmUp, 1, "Warm-up time of a session (default: 10min)");
  AddDurationOption(
      app, "--for", m_dwSeconds, 0, LongestStay, 1,
      "End so long after the warm-up (default: when the lamp is off, or with Ctrl-C; in a shell or script: 0s)");
}

void LampCommand::CheckOwn() {
  if (m_strState != On && m_strState != Off) {
    throw CLI::ValidationError("lamp uv", m_strState.empty()
                                              ? std::string("says not what to do; add on or off")
                                              : fmt::format("cannot do \"{}\"; say on or off", m_strState));
  }
  if (m_instrument.Parameters().bUV == 0) {
    throw CLI::ValidationError("--no-uv", "says that there is no such lamp");
  }
  if (m_strState == Off && (m_dwSession != 0 || m_dwWarmUp || m_dwSeconds)) {
    throw CLI::ValidationError("off", "goes with none of --session, --warm-up and --for");
  }
  if (m_dwWarmUp && m_dwSession == 0) {
    throw CLI::ValidationError("--warm-up", "is that of a session; add --session NUMBER");
  }
  AddSetting("state", m_strState);
  AddSetting("session", fmt::format("{}", m_dwSession));
}

ExitCode LampCommand::Operate(Bench& bench) {
  if (m_strState == Off) {
    return SwitchOff(bench);
  }
  const ExitCode code = WarmUp(bench);
  if (code == ExitCode::Success) {
    Stay(bench);
  }
  return code;
}

ExitCode LampCommand::SwitchOff(Bench& bench) {
  const bool bTaken = bench.session.Device().SetUVLamp(photometer::FALSE, 0) == 1;
  bench.progress.Say(bTaken ? "the deuterium lamp is off"
                            : "the optical unit did not take the command: is it connected?");
  m_strEnd = bTaken ? "switched off" : "not taken";
  return bTaken ? ExitCode::Success : ExitCode::InstrumentError;
}

ExitCode LampCommand::WarmUp(Bench& bench) {
  photometer::IPhotometer& device = bench.session.Device();
  bench.session.SetLampWarmUpTime(m_dwWarmUp.value_or(SessionWarmUp));
  if (const LONG iResult = device.SetUVLamp(photometer::TRUE, m_dwSession); iResult != photometer::S_OK) {
    return Refuse(bench, "the warm-up", iResult);
  }
  const DWORD dwWarmUp = m_dwSession == 0 ? PlainWarmUp : m_dwWarmUp.value_or(SessionWarmUp);
  const Outcome outcome =
      bench.session.Attend({[&bench](const HostEvent& event) { bench.progress.Show(event); },
                            [&device] { return device.GetStatus().bBusy == 0; },
                            // The warm-up looks at no cancel; a switch-off ends it.
                            [&device] { device.SetUVLamp(photometer::FALSE, 0); }, dwWarmUp + WarmUpReserve});
  m_bLit = outcome == Outcome::Finished && device.GetUVLampState() == 1;
  if (m_bLit) {
    bench.progress.Say("the deuterium lamp is lit");
    return ExitCode::Success;
  }
  m_strEnd = outcome == Outcome::Cancelled ? "cancelled" : "not lit";
  return ConcludeAttended(bench, "the warm-up", outcome, "the deuterium lamp did not light; it was switched off again");
}

void LampCommand::Stay(Bench& bench) {
  if (HasJoined() && !m_dwSeconds) {
    // The instrument stays on, and the lamp with it.
    m_strEnd = "left on";
    return;
  }
  bool bOff = false;
  const DWORD dwStart = layer::GetTickCount();
  const Outcome outcome = bench.session.Listen(
      [&](const HostEvent& event) {
        bench.progress.Show(event);
        const auto* pChange = std::get_if<LampChange>(&event);
        bOff = bOff || (pChange != nullptr && !pChange->bReady);
      },
      [&bOff] { return !bOff; }, m_dwSeconds);
  m_dwLitSeconds = (layer::GetTickCount() - dwStart) / 1000;
  m_bLit = !bOff;
  m_strEnd = bOff ? WhyOff() : outcome == Outcome::NoEnd ? "the time is over" : "ended by a person";
  bench.progress.Say(bOff || HasJoined() ? m_strEnd : m_strEnd + ": the lamp is switched off with the instrument");
}

std::string LampCommand::WhyOff() const {
  return m_dwSession != 0 ? std::string("switched off by the instrument: the session's ten hours are over")
                          : fmt::format("switched off by the instrument after {} without a run",
                                        FormatDuration(m_instrument.Parameters().dwUVSessionTime));
}

std::string LampCommand::Results() const {
  return FormatTable(
      {m_header,
       {{"lamp", "lamp", 0}, {"lit", "lit at the end", 0}, {"lit_s", "lit / s", 0}, {"end", "end", 0}},
       {{std::string("uv"), std::string(m_bLit ? "yes" : "no"), static_cast<double>(m_dwLitSeconds), m_strEnd}},
       {}},
      m_results.Format());
}

}  // namespace host
