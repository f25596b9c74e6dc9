#include "FlushCommand.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Duration.h"
#include "PumpIntake.h"
#include "PumpState.h"
#include "ResultTable.h"
#include "platform/Platform.h"

namespace host {

namespace {

namespace layer = photometer::platform;

constexpr DWORD LongestFlush = 600;
// The device gives a flush of the ZQ-410 up after 600 s at the latest, s.
constexpr DWORD LongestZQ410Flush = 660;
// Start and stop of the ZQ-420, which each may take as long as the flush itself, s.
constexpr DWORD ZQ420Reserve = 10;

}  // namespace

void FlushCommand::AddOwnOptions(CLI::App& app) {
  AddDurationOption(app, "--time", m_dwSeconds, 1, LongestFlush, 1,
                    "How long the ZQ-420 pumps (default: --pump-time); the ZQ-410 has a time of its own");
}

void FlushCommand::CheckOwn() {
  RequirePump(m_instrument, HasJoined());
  if (!m_instrument.HasZQ420() && m_dwSeconds) {
    throw CLI::ValidationError("--time", "is for the ZQ-420: the ZQ-410 decides itself how long it flushes");
  }
  AddSetting("pump", m_instrument.PumpText());
}

ExitCode FlushCommand::Operate(Bench& bench) {
  if (const ExitCode code = ConnectPump(m_instrument, bench.session, bench.progress); code != ExitCode::Success) {
    return code;
  }
  photometer::IPhotometer& device = bench.session.Device();
  bench.progress.Say("flushing");
  const HRESULT hResult = device.StartFlush(m_dwSeconds.value_or(m_instrument.Parameters().PumpTime));
  // After a start-up that was not passed it says E_FAIL, and flushes all the same.
  if (hResult != photometer::S_OK && device.GetStatus().bInitialized != 0) {
    return Refuse(bench, "the flush", hResult);
  }
  return Follow(bench);
}

ExitCode FlushCommand::Follow(Bench& bench) {
  const DWORD dwSeconds = m_dwSeconds.value_or(m_instrument.Parameters().PumpTime);
  const DWORD dwStart = layer::GetTickCount();
  bool bEnded = false;
  const auto take = [this, &bench, &bEnded](const HostEvent& event) {
    bench.progress.Show(event);
    const auto* pSignal = std::get_if<Signal>(&event);
    const auto* pError = std::get_if<InstrumentError>(&event);
    if (pError != nullptr && pError->bPump) {
      m_header.error = pError->iNumber;
    }
    bEnded = bEnded || m_header.error || (pSignal != nullptr && *pSignal == Signal::FlushCompleted);
  };
  const auto cancel = [this, &bench] {
    bench.session.Device().CancelFlush();
    if (!m_instrument.HasZQ420()) {
      bench.progress.Say("the ZQ-410 cannot be stopped: its flush goes on to its end");
    }
  };
  const Outcome outcome =
      bench.session.Attend({take, [&bEnded] { return bEnded; }, cancel,
                            m_instrument.HasZQ420() ? 2 * dwSeconds + ZQ420Reserve : LongestZQ410Flush});
  m_dSeconds = (layer::GetTickCount() - dwStart) / 1000.0;
  const bool bGood = outcome == Outcome::Finished && !m_header.error;
  m_strEnd = bGood ? "completed" : outcome == Outcome::Cancelled ? "stopped" : "failed";
  return bGood ? ExitCode::Success : ConcludeAttended(bench, "the flush", outcome, "the flush failed");
}

std::string FlushCommand::Results() const {
  return FormatTable({m_header,
                      {{"pump", "pump", 0}, {"duration_s", "duration / s", 1}, {"end", "end", 0}},
                      {{std::string(m_instrument.PumpText()), m_dSeconds, m_strEnd}},
                      {}},
                     m_results.Format());
}

}  // namespace host
