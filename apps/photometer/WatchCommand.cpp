#include "WatchCommand.h"

#include <utility>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Duration.h"
#include "PumpCaller.h"

namespace host {

namespace {

constexpr DWORD LongestWatch = 7 * 24 * 3600;

bool Is(const HostEvent& event, Signal signal) {
  const auto* pSignal = std::get_if<Signal>(&event);
  return pSignal != nullptr && *pSignal == signal;
}

}  // namespace

void WatchCommand::AddOwnOptions(CLI::App& app) {
  AddDurationOption(app, "--for", m_dwSeconds, 1, LongestWatch, 1, "End after this time (default: with Ctrl-C)");
  AddHappenings(app);
}

void WatchCommand::CheckOwn() {
  CheckHappenings();
  if (m_board.bSimulate && m_board.pace == 0 && !m_dwSeconds) {
    throw CLI::ValidationError(
        "--for", "is missing: a simulated instrument runs as fast as it can; give --for 2min, or --speed 1");
  }
}

ExitCode WatchCommand::Operate(Bench& bench) {
  photometer::IPhotometer& device = bench.session.Device();
  PumpCaller caller(m_instrument, device);
  EventLog log(bench.console, m_results.Format());
  log.Begin(m_header);
  bench.progress.Say("watching");
  const Outcome outcome = Follow(
      bench,
      [&](const HostEvent& event) {
        caller.Hear(event);
        Tell(event, device, log);
      },
      [&] {
        caller.Call();
        return log.IsGood();
      },
      m_dwSeconds);
  log.End(outcome == Outcome::NoEnd ? "the time is over" : "ended by a person");
  return log.Conclude();
}

void WatchCommand::Tell(const HostEvent& event, photometer::IPhotometer& device, EventLog& log) {
  std::optional<EventText> text = DescribeEvent(event);
  if (Is(event, Signal::PumpPortLost)) {
    // It is told each second until the port is open again.
    text = std::exchange(m_bPortLost, true) ? std::nullopt : text;
  } else if (const auto* pConnection = std::get_if<PumpConnection>(&event)) {
    m_bPortLost = m_bPortLost && !pConnection->bConnected;
  } else if (Is(event, Signal::PumpInfoChanged)) {
    const photometer::PumpInfo pump = device.GetPumpInfo();
    text->value = pump.m_strPumpVersion;
    text->strWords = fmt::format("pump data: {}, {}, version {}", pump.m_strSipperData1, pump.m_strSipperData2,
                                 pump.m_strPumpVersion);
    // It is also told when the pump has only answered.
    text = pump.m_strSipperData1.empty() ? std::nullopt : text;
  }
  if (text) {
    log.Write(*text);
  }
}

}  // namespace host
