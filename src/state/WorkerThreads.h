/// The threads of the device. Each is owned until it has ended; each keeps the device alive while it runs, so that a
/// thread that is held up in a callback of the host finds everything it touches in place when it comes back.
#pragma once

#include <functional>
#include <memory>
#include <utility>
#include <vector>

#include "state/DeviceState.h"

namespace photometer {

class WorkerThreads {
 public:
  explicit WorkerThreads(DeviceState& state) : m_State(state) {}
  ~WorkerThreads();
  WorkerThreads(const WorkerThreads&) = delete;
  WorkerThreads& operator=(const WorkerThreads&) = delete;

  /// What every thread keeps alive. Set once, before the first start.
  void SetOwner(std::weak_ptr<void> pOwner) { m_pOwner = std::move(pOwner); }
  /// Starts a thread. False: it could not be created, or the device stops. May be called with the state lock held.
  BOOL Start(const char* name, std::function<void()> body, DWORD* pThreadId = nullptr);
  /// Waits until every thread but the calling one has ended. False: one has not, after this time.
  BOOL WaitUntilEnded(DWORD dwMilliseconds);

 private:
  struct Thread {
    HANDLE hThread;
    DWORD dwThreadId;
  };

  /// Gives back the handles of threads that have ended, unless somebody waits for them. State lock held.
  void Reap();
  /// The handles of all threads but the calling one; they stay valid until `EndWait`.
  std::vector<HANDLE> BeginWait();
  void EndWait();

  DeviceState& m_State;
  std::weak_ptr<void> m_pOwner;
  // Guarded by the state lock.
  std::vector<Thread> m_Threads;
  int m_iWaits = 0;
};

}  // namespace photometer
