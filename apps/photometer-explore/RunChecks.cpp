#include "RunChecks.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "Operations.h"

namespace explorer {

using photometer::MeasureValue;

namespace {

constexpr std::int64_t TestPassed = 30;
constexpr std::int64_t TestFailed = 35;
constexpr std::int64_t StartUpPassed = 11;
constexpr std::int64_t StartUpFailed = 12;
constexpr std::int64_t StartUpEnded = 39;
constexpr std::int64_t TestRunning = 43;

// ---- ends ----

/// How a run ended, as flags.
constexpr unsigned F = 1;   // finished
constexpr unsigned C = 2;   // cancelled
constexpr unsigned E = 4;   // error
constexpr unsigned P = 8;   // failed pump
constexpr unsigned B = 16;  // more than one of a kind

struct EndRule {
  std::string_view thread;
  /// The ends that its rules allow; the rest of the list is 0, which is no end.
  std::array<unsigned, 7> allowed;
  /// Errors that it reports at an error end.
  std::size_t nErrors;
};

constexpr std::array<EndRule, 7> EndRules{{{"Measure", {F, C, E, P, P | C}, 1},
                                           {"ScanProc", {F, C, E, P, P | C}, 1},
                                           {"HolmiumOxideScan", {F, E}, 1},
                                           {"Kinetics", {F, C, E, C | E, P, P | C}, 1},
                                           {"MeasureTurbidityProc", {F, C, E, C | E}, 1},
                                           {"WavelengthCheckProc", {F, C, E}, 2},
                                           {"SystemCheckProc", {F, E}, 1}}};

const EndRule* RuleOf(const ProcedureRun& run) {
  const auto found = std::ranges::find(EndRules, run.name, &EndRule::thread);
  return found == EndRules.end() ? nullptr : &*found;
}

std::string Counts(const ProcedureRun& run) {
  return run.name + " with request " + std::to_string(run.RequestId()) + ": " +
         std::to_string(run.Notified(FinishedCode)) + " times finished, " +
         std::to_string(run.Notified(CancelledCode)) + " cancelled, " + std::to_string(run.Called("OnError")) +
         " errors, " + std::to_string(run.PumpFailures()) + " failed pumps";
}

unsigned EndOf(const ProcedureRun& run, const EndRule& rule) {
  const std::size_t nFinished = run.Notified(FinishedCode);
  const std::size_t nCancelled = run.Notified(CancelledCode);
  const std::size_t nErrors = run.Called("OnError");
  unsigned nEnd = (nFinished > 0 ? F : 0) | (nCancelled > 0 ? C : 0) | (nErrors > 0 ? E : 0);
  nEnd |= run.PumpFailures() + run.Called("OnPumpError") > 0 ? P : 0;
  // A pump that was cancelled, or whose failure was an error, ends the run by that.
  if ((nEnd & (F | E)) == 0 && (nEnd & C) != 0) {
    nEnd &= ~P;
  }
  return nEnd | (nFinished > 1 || nCancelled > 1 || (nErrors > 0 && nErrors != rule.nErrors) ? B : 0);
}

Finding OneEnd(const Evidence& evidence) {
  for (const ProcedureRun& run : evidence.runs.runs) {
    const EndRule* pRule = RuleOf(run);
    if (pRule == nullptr) {
      continue;
    }
    if (run.Notified(FinishedCode) + run.Notified(CancelledCode) > 1) {
      return Counts(run);
    }
    const unsigned nEnd = EndOf(run, *pRule);
    const bool bAllowed = nEnd != 0 && std::ranges::find(pRule->allowed, nEnd) != pRule->allowed.end();
    if (!run.bDisturbed && !bAllowed) {
      return Counts(run);
    }
  }
  return std::nullopt;
}

Finding OneEndOfStartUp(const Evidence& evidence) {
  for (const ProcedureRun& run : evidence.runs.runs) {
    if (run.name != "InitProc" || run.bDisturbed) {
      continue;
    }
    const bool bPassed = run.Notified(StartUpPassed) == 1 && run.Notified(StartUpFailed) == 0 &&
                         run.Called("OnReferenceValues") == 1 && run.Called("OnError") == 0;
    const bool bFailed = run.Notified(StartUpPassed) == 0 && run.Notified(StartUpFailed) == 1 &&
                         run.Called("OnReferenceValues") == 0 && run.Called("OnError") == 1;
    if (bPassed == bFailed || run.Notified(StartUpEnded) != 1 || run.Notified(TestRunning) != 2) {
      return "the start-up passed " + std::to_string(run.Notified(StartUpPassed)) + " times, failed " +
             std::to_string(run.Notified(StartUpFailed)) + ", ended " + std::to_string(run.Notified(StartUpEnded)) +
             ", with " + std::to_string(run.Called("OnError")) + " errors";
    }
  }
  return std::nullopt;
}

Finding OneEndOfTest(const Evidence& evidence) {
  for (const ProcedureRun& run : evidence.runs.runs) {
    if (run.name != "WaveLengthTestProc" || run.bDisturbed) {
      continue;
    }
    if (run.Notified(TestPassed) + run.Notified(TestFailed) != 1 || run.Notified(TestFailed) != run.Called("OnError") ||
        run.Notified(TestRunning) != 2) {
      return "the wavelength test passed " + std::to_string(run.Notified(TestPassed)) + " times and failed " +
             std::to_string(run.Notified(TestFailed)) + ", with " + std::to_string(run.Called("OnError")) + " errors";
    }
  }
  return std::nullopt;
}

Finding OneEndOfFlush(const Evidence& evidence) {
  for (const ProcedureRun& run : evidence.runs.runs) {
    // A flush of a device that is down has nobody to tell.
    if (run.name != "FlushProc" || run.bDisturbed ||
        evidence.runs.calls[static_cast<std::size_t>(run.nCall)].nResult != 0) {
      continue;
    }
    const std::size_t nEnds = run.Called("OnFlushCompleted") + run.Called("OnPumpError");
    if (nEnds != 1) {
      return "a flush ended " + std::to_string(nEnds) + " times";
    }
  }
  return std::nullopt;
}

Finding ThreadsEnd(const Evidence& evidence) {
  for (const ProcedureRun& run : evidence.runs.runs) {
    if (run.nEnd == ProcedureRun::npos) {
      return "thread " + run.name + " has not ended";
    }
  }
  return std::nullopt;
}

// ---- starts ----

Finding OneThreadForEachStart(const Evidence& evidence) {
  for (std::size_t i = 0; i < evidence.runs.calls.size(); ++i) {
    const HostCall& call = evidence.runs.calls[i];
    const Operation* pOperation = FindOperation(call.name);
    if (pOperation == nullptr || pOperation->thread.empty() || call.nEnd == ProcedureRun::npos) {
      continue;
    }
    const auto nThreads = std::ranges::count_if(evidence.runs.runs, [&](const ProcedureRun& run) {
      return run.nCall == static_cast<std::int64_t>(i) && run.name == pOperation->thread;
    });
    // A flush runs on a device that is down, too; without a pump there is nobody to tell its parameters.
    const bool bMayBeOther = (call.name == "flush" && call.nResult != 0) || call.name == "update-pump";
    if (nThreads > 1 || (!bMayBeOther && nThreads != (call.nResult == 0 ? 1 : 0))) {
      return call.name + " answers " + std::to_string(call.nResult) + " and starts " + std::to_string(nThreads) +
             " threads " + std::string(pOperation->thread);
    }
  }
  return std::nullopt;
}

// ---- errors ----

Finding OneError(const Evidence& evidence) {
  for (const ProcedureRun& run : evidence.runs.runs) {
    if (RuleOf(run) == nullptr && run.name != "Timer" && run.Called("OnError") > 1) {
      return run.name + " reported " + std::to_string(run.Called("OnError")) + " errors";
    }
    if (run.Called("OnPumpError") > 1) {
      return run.name + " reported " + std::to_string(run.Called("OnPumpError")) + " failed pumps";
    }
  }
  return std::nullopt;
}

/// Numbers of the optical unit's line: below 300 a cause is the last digit (silence, too long, "error", not written);
/// those of streams follow. Other numbers are the procedures' and the pumps' own.
bool IsOfTheLine(std::int64_t nError) {
  const bool bCause = nError % 10 >= 2 && nError % 10 <= 5;
  return (nError > 0 && nError < 310 && bCause) || (nError >= 322 && nError <= 326);
}

Finding EachAnswerHeard(const Evidence& evidence) {
  if (!evidence.bLineSound || !evidence.bSystemSound) {
    return std::nullopt;
  }
  for (const Event& event : evidence.ledger.Events()) {
    if (event.kind == EventKind::Callback && event.name == "OnError" && IsOfTheLine(event.b)) {
      return "OnError " + std::to_string(event.b) + " with a unit that answered every command";
    }
  }
  return std::nullopt;
}

/// Records that a run owes the error list.
std::size_t RecordsOf(const ProcedureRun& run) {
  if (run.Called("OnError") > 0) {
    return 1;
  }
  // A spectrum whose stream a cancel cut off is recorded, and not reported.
  return run.nErrorRecords == 1 && run.name == "ScanProc" && run.Notified(CancelledCode) == 1 ? 1 : 0;
}

Finding OneErrorRecord(const Evidence& evidence) {
  for (const ProcedureRun& run : evidence.runs.runs) {
    const bool bWrong = run.bDisturbed ? run.nErrorRecords > 1 : run.nErrorRecords != RecordsOf(run);
    if (bWrong) {
      return run.name + " with " + std::to_string(run.Called("OnError")) + " errors wrote " +
             std::to_string(run.nErrorRecords) + " records into the error list";
    }
  }
  return std::nullopt;
}

// ---- results ----

/// Between two events of a run the host took its sink away or gave it back: what was delivered while it was away is
/// nowhere.
bool SinkChanged(const Evidence& evidence, std::size_t nFrom, std::size_t nTo) {
  return std::ranges::any_of(evidence.runs.calls, [=](const HostCall& call) {
    return call.name == "set-sink" && call.nBegin < nTo && call.nEnd > nFrom;
  });
}

/// The values that a run has delivered, one after another.
class Delivery {
 public:
  explicit Delivery(const ProcedureRun& run) : m_run(run) {}

  /// Values may be missing before the next one.
  void AllowGap() {
    m_position.reset();
    m_step.reset();
    m_bGap = true;
  }

  /// `value` is the next one.
  Finding Take(const MeasureValue& value) {
    const bool bGap = std::exchange(m_bGap, false);
    if (!std::isfinite(value.dValue) || !std::isfinite(value.dValueRef) || !std::isfinite(value.dTurbidity)) {
      return m_run.name + " delivers a value that is no number";
    }
    if (m_run.name == "Kinetics") {
      const std::int64_t nTag = std::exchange(m_nTag, value.dwTag + std::int64_t{1});
      const bool bNext = bGap ? value.dwTag >= nTag : value.dwTag == nTag;
      return bNext ? std::nullopt : Finding("a cycle of the series is missing before " + std::to_string(value.dwTag));
    }
    const bool bTurbidity = m_run.name == "ScanProc" && value.dTurbidity >= 0.0;
    const bool bSpectrum = m_run.name == "ScanProc" || m_run.name == "HolmiumOxideScan";
    return bSpectrum && !bTurbidity ? TakePosition(static_cast<std::int32_t>(value.dwPosition)) : std::nullopt;
  }

 private:
  /// Positions below the reference are negative.
  Finding TakePosition(std::int64_t nPosition) {
    const std::optional<std::int64_t> before = std::exchange(m_position, nPosition);
    const std::optional<std::int64_t> step = before ? std::optional(nPosition - *before) : std::nullopt;
    const std::optional<std::int64_t> stepBefore = std::exchange(m_step, step);
    return step && stepBefore && *step != *stepBefore
               ? Finding(m_run.name + " delivers position " + std::to_string(nPosition) + " after " +
                         std::to_string(*before))
               : std::nullopt;
  }

  const ProcedureRun& m_run;
  std::optional<std::int64_t> m_position;
  std::optional<std::int64_t> m_step;
  std::int64_t m_nTag = 0;
  bool m_bGap = false;
};

Finding CompleteResults(const Evidence& evidence) {
  for (const ProcedureRun& run : evidence.runs.runs) {
    Delivery delivery(run);
    std::size_t nBefore = run.nBegin;
    for (const Event* pEvent : run.events) {
      if (pEvent->kind != EventKind::Result) {
        continue;
      }
      const auto nEvent = static_cast<std::size_t>(pEvent - evidence.ledger.Events().data());
      if (SinkChanged(evidence, std::exchange(nBefore, nEvent), nEvent)) {
        delivery.AllowGap();
      }
      for (std::int64_t i = 0; i < pEvent->c; ++i) {
        Finding finding = delivery.Take(evidence.ledger.Values()[static_cast<std::size_t>(pEvent->b + i)]);
        if (finding) {
          return finding;
        }
      }
    }
  }
  return std::nullopt;
}

Finding RightRequest(const Evidence& evidence) {
  for (const ProcedureRun& run : evidence.runs.runs) {
    const std::int64_t nRequest = run.RequestId();
    for (const Event* pEvent : run.events) {
      const bool bHasId = pEvent->kind == EventKind::Result || pEvent->name == "OnNotify";
      if (nRequest >= 0 && bHasId && pEvent->a != nRequest && pEvent->a != 0) {
        return run.name + " with request " + std::to_string(nRequest) + " reports for request " +
               std::to_string(pEvent->a);
      }
    }
  }
  return std::nullopt;
}

constexpr std::array<Property, 11> Table{{
    {"one end", "each started procedure ends once, in one of the ways that its rules allow", OneEnd},
    {"one end of a start-up", "a start-up passes or fails, once", OneEndOfStartUp},
    {"one end of a wavelength test", "a wavelength test passes or fails, once", OneEndOfTest},
    {"one end of a flush", "a flush is completed or fails, once", OneEndOfFlush},
    {"one thread for each start", "an accepted start starts one thread, a refused one none", OneThreadForEachStart},
    {"one error", "what is no procedure reports an error once, and each thread a failed pump once", OneError},
    {"each answer heard", "with the line and the system in order, no command is given up", EachAnswerHeard},
    {"one error record", "the error list has one record for each failed procedure", OneErrorRecord},
    {"complete results", "delivered values are numbers, in order, and none is missing between two", CompleteResults},
    {"right request", "a procedure reports with the number of its own request", RightRequest},
    {"threads end", "all threads of the library have ended", ThreadsEnd},
}};

}  // namespace

std::span<const Property> RunProperties() { return Table; }

bool IsMeasurementOrTest(const ProcedureRun& run) { return RuleOf(run) != nullptr; }

}  // namespace explorer
