#include "platform/posix/PosixWait.h"

#include <algorithm>
#include <array>
#include <chrono>

#include "platform/posix/PosixClock.h"

namespace photometer::platform {

/// One wait. It stands on the stack of the thread that waits; whoever gives the result takes it out of all queues
/// first, with the lock held, so that nobody reaches it afterwards.
struct PosixWaiter {
  std::span<const HANDLE> handles;
  std::array<PosixWaitable*, MAXIMUM_WAIT_OBJECTS> waitables{};
  bool bDone = false;
  DWORD dwResult = WAIT_TIMEOUT;
  std::condition_variable wake;

  [[nodiscard]] std::span<PosixWaitable* const> Waitables() const { return {waitables.data(), handles.size()}; }
};

HANDLE PosixWaits::AddHandle(const std::shared_ptr<PosixWaitable>& waitable) {
  const HANDLE handle = NewHandle(HandleKind::Kernel);
  m_handles.emplace(handle, waitable);
  ++waitable->nHandles;
  return handle;
}

HANDLE PosixWaits::CreateEvent(bool bManualReset, bool bInitialState, const std::u16string& name) {
  const Lock lock(m_mutex);
  if (const auto found = m_names.find(name); found != m_names.end()) return AddHandle(found->second.lock());

  const auto waitable = std::make_shared<PosixWaitable>(PosixWaitable{true, bManualReset, bInitialState, name, 0, {}});
  if (!name.empty()) m_names.emplace(name, waitable);
  return AddHandle(waitable);
}

HANDLE PosixWaits::CreateThreadEnd(std::shared_ptr<PosixWaitable>* pEnd) {
  const Lock lock(m_mutex);
  *pEnd = std::make_shared<PosixWaitable>(PosixWaitable{false, true, false, {}, 0, {}});
  return AddHandle(*pEnd);
}

void PosixWaits::SignalEnd(PosixWaitable& end) {
  const Lock lock(m_mutex);
  Signal(end);
}

bool PosixWaits::ModifyEvent(HANDLE handle, EventAction action) {
  const Lock lock(m_mutex);
  const auto found = m_handles.find(handle);
  if (found == m_handles.end() || !found->second->bEvent) return false;
  if (action == EventAction::Set) {
    Signal(*found->second);
  } else {
    found->second->bSignalled = false;
  }
  return true;
}

DWORD PosixWaits::WaitForAny(std::span<const HANDLE> handles, DWORD dwMilliseconds) {
  if (handles.empty() || handles.size() > MAXIMUM_WAIT_OBJECTS) return WAIT_FAILED;
  PosixWaiter waiter;
  waiter.handles = handles;
  Lock lock(m_mutex);
  if (!Resolve(waiter)) return WAIT_FAILED;
  if (TakeSignalled(waiter) || dwMilliseconds == 0) return waiter.dwResult;

  for (PosixWaitable* pWaitable : waiter.Waitables()) pWaitable->waiters.push_back(&waiter);
  Sleep(lock, waiter, dwMilliseconds);
  if (!waiter.bDone) Dequeue(waiter);
  return waiter.dwResult;
}

bool PosixWaits::Close(HANDLE handle) {
  const Lock lock(m_mutex);
  const auto found = m_handles.find(handle);
  if (found == m_handles.end()) return false;
  const std::shared_ptr<PosixWaitable> waitable = found->second;
  m_handles.erase(found);

  const std::vector<PosixWaiter*> waiters = waitable->waiters;
  for (PosixWaiter* pWaiter : waiters) {
    // Waiters by another handle of the same event wait on; one that names this handle twice stands here twice.
    const bool bStillQueued = std::ranges::count(waitable->waiters, pWaiter) > 0;
    if (bStillQueued && std::ranges::count(pWaiter->handles, handle) > 0) Finish(*pWaiter, WAIT_FAILED);
  }
  if (--waitable->nHandles == 0 && !waitable->name.empty()) m_names.erase(waitable->name);
  return true;
}

bool PosixWaits::Resolve(PosixWaiter& waiter) const {
  for (std::size_t i = 0; i < waiter.handles.size(); ++i) {
    const auto found = m_handles.find(waiter.handles[i]);
    if (found == m_handles.end()) return false;
    waiter.waitables[i] = found->second.get();
  }
  return true;
}

bool PosixWaits::TakeSignalled(PosixWaiter& waiter) {
  const auto waitables = waiter.Waitables();
  const auto found = std::ranges::find_if(waitables, [](const PosixWaitable* pEach) { return pEach->bSignalled; });
  if (found == waitables.end()) return false;
  if (!(*found)->bManualReset) (*found)->bSignalled = false;
  waiter.dwResult = WAIT_OBJECT_0 + static_cast<DWORD>(found - waitables.begin());
  return true;
}

void PosixWaits::Sleep(Lock& lock, PosixWaiter& waiter, DWORD dwMilliseconds) {
  const auto done = [&waiter] { return waiter.bDone; };
  if (dwMilliseconds == INFINITE) {
    waiter.wake.wait(lock, done);
    return;
  }
  using Clock = std::chrono::steady_clock;
  waiter.wake.wait_until(lock, Clock::time_point(std::chrono::nanoseconds(DeadlineAfter(dwMilliseconds))), done);
}

void PosixWaits::Signal(PosixWaitable& waitable) {
  if (waitable.bManualReset || waitable.waiters.empty()) waitable.bSignalled = true;
  while (!waitable.waiters.empty()) {
    PosixWaiter& waiter = *waitable.waiters.front();
    const auto waitables = waiter.Waitables();
    const auto nIndex = std::ranges::find(waitables, &waitable) - waitables.begin();
    Finish(waiter, WAIT_OBJECT_0 + static_cast<DWORD>(nIndex));
    if (!waitable.bManualReset) return;
  }
}

void PosixWaits::Dequeue(PosixWaiter& waiter) {
  for (PosixWaitable* pWaitable : waiter.Waitables()) std::erase(pWaitable->waiters, &waiter);
}

void PosixWaits::Finish(PosixWaiter& waiter, DWORD dwResult) {
  Dequeue(waiter);
  waiter.dwResult = dwResult;
  waiter.bDone = true;
  waiter.wake.notify_one();
}

}  // namespace photometer::platform
