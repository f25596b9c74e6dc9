#include "CancelChecks.h"

#include <algorithm>
#include <array>

#include "RunChecks.h"

namespace explorer {

namespace {

/// A callback of the host holds a notification up for no longer, µs.
constexpr std::uint64_t LongestCallback = 10'000'000;

/// A reading, or the setting of the optics, that has begun takes no longer, µs: the longest ways of mirror, filter and
/// monochromator take 2.5 s.
constexpr std::uint64_t LongestStep = 3'000'000;

bool HearsCancels(const ProcedureRun& run) {
  return IsMeasurementOrTest(run) && run.name != "HolmiumOxideScan" && run.name != "SystemCheckProc";
}

/// The first cancel of the host that was accepted while the run ran; null: none.
const HostCall* AcceptedCancel(const Evidence& evidence, const ProcedureRun& run) {
  const auto found = std::ranges::find_if(evidence.runs.calls, [&run](const HostCall& call) {
    return call.name == "cancel" && call.nResult == 0 && call.nBegin > run.nBegin && call.nEnd < run.nEnd;
  });
  return found == evidence.runs.calls.end() ? nullptr : &*found;
}

Finding CancelledOnlyWhenAsked(const Evidence& evidence) {
  for (const ProcedureRun& run : evidence.runs.runs) {
    if (run.Notified(CancelledCode) > 0 && !run.bCancelAsked && !run.bDisturbed) {
      return run.name + " was cancelled, and nobody had asked for it";
    }
  }
  return std::nullopt;
}

Finding NoCancelLost(const Evidence& evidence) {
  for (const ProcedureRun& run : evidence.runs.runs) {
    const Event* pFinished = run.Notification(FinishedCode);
    const HostCall* pCancel = HearsCancels(run) ? AcceptedCancel(evidence, run) : nullptr;
    if (pFinished != nullptr && pCancel != nullptr &&
        evidence.ledger.Events()[pCancel->nEnd].nTime + LongestCallback < pFinished->nTime) {
      return run.name + " finished although it had been cancelled long before";
    }
  }
  return std::nullopt;
}

/// Between two places in the ledger, what the run takes for itself, µs: neither the warm-up of the deuterium lamp, nor
/// the wait for a pump that is silent, nor what the host does inside callbacks.
std::uint64_t OwnTime(const Evidence& evidence, const ProcedureRun& run, std::size_t nFrom, std::size_t nTo) {
  bool bLampSwitching = false;
  std::size_t nCallsInCallbacks = 0;
  std::uint64_t nTime = 0;
  for (std::size_t i = 1; i <= nTo; ++i) {
    const Event& event = evidence.ledger.Events()[i];
    const bool bOfRun = event.dwThread == run.dwThread;
    if (i > nFrom && !bLampSwitching && nCallsInCallbacks == 0) {
      nTime += event.nTime - evidence.ledger.Events()[i - 1].nTime;
    }
    if (bOfRun && event.name == "OnLampSwitching") {
      bLampSwitching = event.a != 0;
    } else if (bOfRun && event.kind == EventKind::PumpFailed) {
      nTime = 0;
    } else if (event.kind == EventKind::CallBegins && event.b != 0) {
      ++nCallsInCallbacks;
    } else if (event.kind == EventKind::CallEnds &&
               evidence.runs.calls[static_cast<std::size_t>(event.a)].bInCallback) {
      --nCallsInCallbacks;
    }
  }
  return nTime;
}

Finding CancelHeardSoon(const Evidence& evidence) {
  if (!evidence.bLineSound || !evidence.bSystemSound) {
    return std::nullopt;
  }
  for (const ProcedureRun& run : evidence.runs.runs) {
    const Event* pCancelled = run.Notification(CancelledCode);
    const HostCall* pCancel = HearsCancels(run) && !run.bDisturbed ? AcceptedCancel(evidence, run) : nullptr;
    if (pCancelled == nullptr || pCancel == nullptr) {
      continue;
    }
    const auto nCancelled = static_cast<std::size_t>(pCancelled - evidence.ledger.Events().data());
    const std::uint64_t nTime = OwnTime(evidence, run, pCancel->nEnd, nCancelled);
    if (nTime > LongestStep) {
      return run.name + " ended " + std::to_string(nTime / 1000) + " ms after it had been cancelled";
    }
  }
  return std::nullopt;
}

constexpr std::array<Property, 3> Table{{
    {"cancelled only when asked", "a procedure is cancelled only when that was asked for while it ran",
     CancelledOnlyWhenAsked},
    {"no cancel lost", "a procedure that was cancelled does not finish", NoCancelLost},
    {"cancel heard soon", "with the line and the system in order, a cancelled procedure ends behind the step it is at",
     CancelHeardSoon},
}};

}  // namespace

std::span<const Property> CancelProperties() { return Table; }

}  // namespace explorer
