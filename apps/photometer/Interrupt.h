/// Requests of a person to end what runs: how often Ctrl-C was pressed. The waiting loops look at it.
#pragma once

#include <atomic>

namespace host {

class Interrupt {
 public:
  /// Counts one more request. May be called from a signal handler and from any thread.
  void Raise() { m_iCount.fetch_add(1, std::memory_order_relaxed); }
  /// The same, and nothing else may be begun.
  void RaiseEnd() {
    m_bEnd.store(true, std::memory_order_relaxed);
    Raise();
  }
  [[nodiscard]] int Count() const { return m_iCount.load(std::memory_order_relaxed); }
  [[nodiscard]] bool EndWanted() const { return m_bEnd.load(std::memory_order_relaxed); }
  /// What runs has ended, the next thing may begin. The end that is wanted stays.
  void Clear() { m_iCount.store(EndWanted() ? 1 : 0, std::memory_order_relaxed); }

 private:
  std::atomic<int> m_iCount{0};
  std::atomic<bool> m_bEnd{false};
  static_assert(std::atomic<int>::is_always_lock_free);
};

/// From now on SIGINT raises it, SIGTERM and SIGHUP raise the end, and writing to a closed pipe fails instead of ending
/// the process: the lamps must not stay on because a terminal was closed. It must live until the process ends.
void RaiseOnSignals(Interrupt& interrupt);

}  // namespace host
