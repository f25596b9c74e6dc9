/// Requests of a person to end the program: how often Ctrl-C was pressed. The waiting loops look at it.
#pragma once

#include <atomic>

namespace host {

class Interrupt {
 public:
  /// Counts one more request. May be called from a signal handler and from any thread.
  void Raise() { m_iCount.fetch_add(1, std::memory_order_relaxed); }
  [[nodiscard]] int Count() const { return m_iCount.load(std::memory_order_relaxed); }

 private:
  std::atomic<int> m_iCount{0};
  static_assert(std::atomic<int>::is_always_lock_free);
};

/// From now on SIGINT, SIGTERM and SIGHUP raise it, and writing to a closed pipe fails instead of ending the process:
/// the lamps must not stay on because a terminal was closed. It must live until the process ends.
void RaiseOnSignals(Interrupt& interrupt);

}  // namespace host
