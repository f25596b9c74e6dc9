/// The library's threads of a run, each with what it told the host: what the properties about ends are judged by.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Ledger.h"

namespace explorer {

/// What `OnNotify` tells at the end of a run.
inline constexpr std::int64_t FinishedCode = 17;
inline constexpr std::int64_t CancelledCode = 18;

/// One thread of the library.
struct ProcedureRun {
  std::string name;
  DWORD dwThread = 0;
  /// Places in the ledger; `npos` for a thread that has not ended.
  std::size_t nBegin = 0;
  std::size_t nEnd = npos;
  /// The host's call that started it.
  std::int64_t nCall = Ledger::NoCall;
  /// Its callbacks, results and pump failures, in order.
  std::vector<const Event*> events;
  std::size_t nErrorRecords = 0;
  /// A call that stops the device, or takes its sink away, overlaps it.
  bool bDisturbed = false;
  /// A cancel was asked for while it ran.
  bool bCancelAsked = false;

  static constexpr std::size_t npos = static_cast<std::size_t>(-1);

  /// How often it notified this code with this request id; −1: any.
  [[nodiscard]] std::size_t Notified(std::int64_t nCode, std::int64_t nRequestId = -1) const;
  [[nodiscard]] std::size_t Called(std::string_view name) const;
  /// The first notification of this code; null: none.
  [[nodiscard]] const Event* Notification(std::int64_t nCode) const;
  /// How often a pump failed in it.
  [[nodiscard]] std::size_t PumpFailures() const;
  /// The id that it was started with, by its "thread started"; −1: it has none.
  [[nodiscard]] std::int64_t RequestId() const;
};

/// One call of the host.
struct HostCall {
  std::string name;
  std::size_t nBegin = 0;
  std::size_t nEnd = ProcedureRun::npos;
  std::int64_t nResult = 0;
  bool bInCallback = false;
};

struct ProcedureRuns {
  std::vector<ProcedureRun> runs;
  std::vector<HostCall> calls;
};

ProcedureRuns FindRuns(const Ledger& ledger);

}  // namespace explorer
