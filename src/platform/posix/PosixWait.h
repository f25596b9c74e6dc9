/// What can be waited for on the POSIX board (events and the ends of threads), and the waits.
///
/// One lock guards everything; each waiting thread sleeps on a condition of its own until somebody hands it a result.
/// A signal is handed over at the moment it is given: an auto-reset event goes to the thread that has waited longest,
/// and to nobody else, even when that thread's time runs out before it gets the processor. Waits end late at worst,
/// never early.
#pragma once

#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <span>
#include <string>
#include <unordered_map>
#include <vector>

#include "platform/Board.h"

namespace photometer::platform {

struct PosixWaiter;

/// An event, or the end of a thread (which is signalled once and stays so).
struct PosixWaitable {
  bool bEvent;
  bool bManualReset;
  bool bSignalled;
  std::u16string name;
  std::size_t nHandles = 0;
  /// Threads that wait for it, longest first.
  std::vector<PosixWaiter*> waiters;
};

class PosixWaits {
 public:
  /// A handle of a new event, or of the one that has the name.
  HANDLE CreateEvent(bool bManualReset, bool bInitialState, const std::u16string& name);
  /// A handle of a thread that has not ended; `SignalEnd` says when it has.
  HANDLE CreateThreadEnd(std::shared_ptr<PosixWaitable>* pEnd);
  void SignalEnd(PosixWaitable& end);
  /// False: not the handle of an event.
  bool ModifyEvent(HANDLE handle, EventAction action);
  /// Result as of `Kernel::WaitForMultipleObjects`.
  DWORD WaitForAny(std::span<const HANDLE> handles, DWORD dwMilliseconds);
  /// Waits by this handle end with `WAIT_FAILED`. False: no such handle.
  bool Close(HANDLE handle);

 private:
  using Lock = std::unique_lock<std::mutex>;

  HANDLE AddHandle(const std::shared_ptr<PosixWaitable>& waitable);
  bool Resolve(PosixWaiter& waiter) const;
  static bool TakeSignalled(PosixWaiter& waiter);
  static void Sleep(Lock& lock, PosixWaiter& waiter, DWORD dwMilliseconds);
  static void Signal(PosixWaitable& waitable);
  static void Dequeue(PosixWaiter& waiter);
  static void Finish(PosixWaiter& waiter, DWORD dwResult);

  std::mutex m_mutex;
  std::unordered_map<HANDLE, std::shared_ptr<PosixWaitable>> m_handles;
  std::map<std::u16string, std::weak_ptr<PosixWaitable>> m_names;
};

}  // namespace photometer::platform
