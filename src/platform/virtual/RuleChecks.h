/// The board's rules: what the simulated threads must not do, noted once each as a text.
///
/// A report's first line says what, where and when; further lines tell of the threads involved.
#pragma once

#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/Types.h"
#include "platform/virtual/VirtualClock.h"
#include "platform/virtual/VirtualThread.h"

namespace photometer::platform {

class RuleChecks {
 public:
  RuleChecks(const VirtualClock& clock, std::vector<std::string> locksForHostCode);

  /// Notes a report, unless one of the same text was noted before. The time is put behind its first line.
  void Note(const std::string& text);
  [[nodiscard]] const std::vector<std::string>& Reports() const { return m_reports; }

  /// The thread is about to wait, sleep or use a serial port: it must hold no lock under which no host code runs.
  void WaitBegins(const VirtualThread& thread);
  /// The thread is about to write a file or the registry: it must not hold the state lock.
  void StorageWriteBegins(const VirtualThread& thread, const std::string& what);
  /// The thread asks for a lock, holding others: their order must not have been the other way round before.
  void LockRequested(const VirtualThread& thread, const LockState& lock);
  /// The lock is gone, and with it what is known of its order.
  void LockDestroyed(const LockState& lock);
  /// A thread ends.
  void ThreadEnds(const VirtualThread& thread);

  /// A handle was closed; `what` names its object.
  void HandleClosed(const VirtualThread& thread, HANDLE handle, const std::string& what);
  /// A handle that names nothing of the kind was used. One that was never opened (0, `INVALID_HANDLE_VALUE`) is a
  /// failure that callers may leave to the call's result; one that is closed, or of another kind, is a fault.
  void BadHandle(const VirtualThread& thread, HANDLE handle);

 private:
  using LockPair = std::pair<unsigned, unsigned>;

  [[nodiscard]] std::string HeldWhileWaiting(const VirtualThread& thread) const;
  /// The locks from one to the other along the known order, both included; empty: there is no such way.
  [[nodiscard]] std::vector<unsigned> WayBetween(unsigned nFrom, unsigned nTo) const;
  void NoteCycle(const VirtualThread& thread, const LockState& held, const LockState& lock,
                 const std::vector<unsigned>& way);

  const VirtualClock& m_clock;
  std::vector<std::string> m_locksForHostCode;
  std::vector<std::string> m_reports;
  std::set<std::string> m_known;
  /// First lock held, second taken: who did so first.
  std::map<LockPair, std::string> m_order;
  std::map<unsigned, std::string> m_lockNames;
  std::map<HANDLE, std::string> m_closed;
};

}  // namespace photometer::platform
