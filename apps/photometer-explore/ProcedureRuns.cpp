#include "ProcedureRuns.h"

#include <algorithm>
#include <map>

namespace explorer {

namespace {

constexpr std::int64_t ThreadStarted = 25;

bool Overlaps(const HostCall& call, const ProcedureRun& run) {
  return call.nBegin < run.nEnd && call.nEnd > run.nBegin;
}

/// The call ends what runs. One from a callback is refused; one that only looked at its arguments did nothing.
bool Stops(const HostCall& call) {
  const bool bStops =
      call.name == "shutdown" ||
      (call.name == "initialize" && (call.nResult == photometer::S_OK || call.nResult == photometer::E_FAIL));
  return (bStops && !call.bInCallback) || call.name == "release";
}

bool Cancels(const HostCall& call) { return call.name == "cancel" || call.name == "cancel-flush"; }

void AddEvent(const Event& event, std::size_t nIndex, std::map<DWORD, std::size_t>& byThread, ProcedureRuns* pRuns) {
  if (event.kind == EventKind::ThreadBegins) {
    byThread[event.dwThread] = pRuns->runs.size();
    pRuns->runs.push_back({event.name, event.dwThread, nIndex, ProcedureRun::npos, event.a, {}, 0, false, false});
    return;
  }
  const auto found = byThread.find(event.dwThread);
  if (found == byThread.end()) {
    return;
  }
  ProcedureRun& run = pRuns->runs[found->second];
  switch (event.kind) {
    case EventKind::ThreadEnds:
      run.nEnd = nIndex;
      break;
    case EventKind::ErrorRecord:
      ++run.nErrorRecords;
      break;
    case EventKind::Callback:
    case EventKind::Result:
    case EventKind::PumpFailed:
      run.events.push_back(&event);
      break;
    default:
      break;
  }
}

void AddCall(const Event& event, std::size_t nIndex, ProcedureRuns* pRuns) {
  if (event.kind == EventKind::CallBegins) {
    pRuns->calls.push_back({event.name, nIndex, ProcedureRun::npos, 0, event.b != 0});
  } else if (event.kind == EventKind::CallEnds) {
    HostCall& call = pRuns->calls[static_cast<std::size_t>(event.a)];
    call.nEnd = nIndex;
    call.nResult = event.b;
  }
}

void Judge(const ProcedureRuns& runs, ProcedureRun* pRun) {
  // The sink is away from the call that takes it to the call that gives it back.
  std::size_t nAwayFrom = ProcedureRun::npos;
  for (std::size_t i = 0; i < runs.calls.size(); ++i) {
    const HostCall& call = runs.calls[i];
    const bool bOther = static_cast<std::int64_t>(i) != pRun->nCall;
    pRun->bDisturbed = pRun->bDisturbed || (bOther && Stops(call) && Overlaps(call, *pRun));
    pRun->bCancelAsked = pRun->bCancelAsked || (Cancels(call) && Overlaps(call, *pRun));
    if (call.name == "set-sink") {
      nAwayFrom = std::min(nAwayFrom, call.nBegin);
    }
  }
  pRun->bDisturbed = pRun->bDisturbed || nAwayFrom < pRun->nEnd;
}

}  // namespace

std::size_t ProcedureRun::Notified(std::int64_t nCode, std::int64_t nRequestId) const {
  return static_cast<std::size_t>(std::ranges::count_if(events, [=](const Event* pEvent) {
    return pEvent->kind == EventKind::Callback && pEvent->name == "OnNotify" && pEvent->b == nCode &&
           (nRequestId < 0 || pEvent->a == nRequestId);
  }));
}

const Event* ProcedureRun::Notification(std::int64_t nCode) const {
  const auto found = std::ranges::find_if(
      events, [=](const Event* pEvent) { return pEvent->name == "OnNotify" && pEvent->b == nCode; });
  return found == events.end() ? nullptr : *found;
}

std::size_t ProcedureRun::Called(std::string_view callback) const {
  return static_cast<std::size_t>(std::ranges::count_if(
      events, [=](const Event* pEvent) { return pEvent->kind == EventKind::Callback && pEvent->name == callback; }));
}

std::size_t ProcedureRun::PumpFailures() const {
  return static_cast<std::size_t>(
      std::ranges::count_if(events, [](const Event* pEvent) { return pEvent->kind == EventKind::PumpFailed; }));
}

std::int64_t ProcedureRun::RequestId() const {
  const Event* pStarted = Notification(ThreadStarted);
  return pStarted == nullptr ? -1 : pStarted->a;
}

ProcedureRuns FindRuns(const Ledger& ledger) {
  ProcedureRuns runs;
  std::map<DWORD, std::size_t> byThread;
  for (std::size_t i = 0; i < ledger.Events().size(); ++i) {
    const Event& event = ledger.Events()[i];
    AddEvent(event, i, byThread, &runs);
    AddCall(event, i, &runs);
  }
  for (ProcedureRun& run : runs.runs) {
    Judge(runs, &run);
  }
  return runs;
}

}  // namespace explorer
