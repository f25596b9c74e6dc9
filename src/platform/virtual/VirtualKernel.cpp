#include "platform/virtual/VirtualKernel.h"

#include <algorithm>
#include <cstdlib>

#include "platform/Platform.h"
#include "platform/Sanitizers.h"
#include "platform/virtual/VirtualCriticalSection.h"

namespace photometer::platform {

VirtualKernel::VirtualKernel(Scheduler& scheduler, VirtualClock& clock, RuleChecks& checks)
    : m_scheduler(scheduler), m_clock(clock), m_checks(checks) {
  m_scheduler.OnThreadEnd([this](VirtualThread& thread) {
    AbandonLocks(thread);
    Signal(*thread.pObject);
  });
}

// ---- threads ----

std::shared_ptr<KernelObject> VirtualKernel::NewThreadObject(const std::string& name) {
  auto pObject = std::make_shared<KernelObject>();
  pObject->name = "thread " + std::to_string(++m_nObjects) + " \"" + name + '"';
  pObject->bManualReset = true;
  return pObject;
}

HANDLE VirtualKernel::CreateThread(ThreadStart start, DWORD* pThreadId) {
  HANDLE handle = 0;
  DWORD dwId = 0;
  char* pToken = nullptr;
  {
    const UnobservedScope scope;
    m_scheduler.Point("CreateThread");
    const std::shared_ptr<KernelObject> pObject = NewThreadObject(start.name);
    dwId = m_scheduler.Start(std::move(start.body), start.name, pObject).dwId;
    handle = NewHandle(HandleKind::Kernel);
    m_handles.emplace(handle, pObject);
    pToken = &pObject->token;
  }
  Release(pToken);
  if (pThreadId != nullptr) {
    *pThreadId = dwId;
  }
  return handle;
}

// Reported already; let go all the same, so that the run can show what else is wrong.
void VirtualKernel::AbandonLocks(VirtualThread& thread) {
  for (LockState* pLock : thread.held) {
    pLock->pOwner = nullptr;
    for (VirtualThread* pWaiter : pLock->waiters) {
      m_scheduler.Wake(*pWaiter, WakeReason::Woken);
    }
    pLock->waiters.clear();
  }
  thread.held.clear();
}

DWORD VirtualKernel::GetCurrentThreadId() {
  const UnobservedScope scope;
  return m_scheduler.Current().dwId;
}

void VirtualKernel::RunAtPoint(std::uint64_t nPoint, const std::string& name, std::function<void()> body) {
  char* pToken = nullptr;
  {
    const UnobservedScope scope;
    const std::shared_ptr<KernelObject> pObject = NewThreadObject(name);
    pToken = &pObject->token;
    m_scheduler.RunAtPoint(nPoint, name, std::move(body), pObject);
  }
  Release(pToken);
}

// ---- events ----

HANDLE VirtualKernel::CreateEvent(bool bManualReset, bool bInitialState, const std::u16string& name) {
  const UnobservedScope scope;
  m_scheduler.Point("CreateEventW");
  return CreateEventObject(bManualReset, bInitialState, name);
}

HANDLE VirtualKernel::CreateEventObject(bool bManualReset, bool bInitialState, const std::u16string& name) {
  std::shared_ptr<KernelObject> pObject;
  if (!name.empty()) {
    pObject = m_named[name].lock();
  }
  if (pObject == nullptr) {
    pObject = std::make_shared<KernelObject>();
    pObject->name = "event " + std::to_string(++m_nObjects);
    pObject->bEvent = true;
    pObject->bManualReset = bManualReset;
    pObject->bSignalled = bInitialState;
  }
  if (!name.empty() && m_named[name].expired()) {
    pObject->name += " \"" + ToUtf8(name) + '"';
    m_named[name] = pObject;
  }
  const HANDLE handle = NewHandle(HandleKind::Kernel);
  m_handles.emplace(handle, pObject);
  return handle;
}

KernelObject* VirtualKernel::Find(HANDLE handle) {
  const auto found = m_handles.find(handle);
  if (found == m_handles.end()) {
    m_checks.BadHandle(m_scheduler.Current(), handle);
    return nullptr;
  }
  return found->second.get();
}

KernelObject* VirtualKernel::FindEvent(HANDLE handle) {
  KernelObject* pObject = Find(handle);
  if (pObject != nullptr && !pObject->bEvent) {
    m_checks.BadHandle(m_scheduler.Current(), handle);
    return nullptr;
  }
  return pObject;
}

bool VirtualKernel::ModifyEvent(HANDLE handle, EventAction action) {
  KernelObject* pObject = nullptr;
  char* pToken = nullptr;
  {
    const UnobservedScope scope;
    m_scheduler.Point(action == EventAction::Set ? "EventModify (set)" : "EventModify (reset)");
    pObject = FindEvent(handle);
    if (pObject == nullptr) {
      return false;
    }
    if (action == EventAction::Reset) {
      pObject->bSignalled = false;
      return true;
    }
    pToken = &pObject->token;
  }
  Release(pToken);
  const UnobservedScope scope;
  Signal(*pObject);
  return true;
}

void VirtualKernel::Signal(KernelObject& object) {
  object.bSignalled = true;
  // Whose time is up has lost its claim, though it has not run since.
  std::erase_if(object.waiters, [](const VirtualThread* pWaiter) { return !pWaiter->bBlocked; });
  while (object.bSignalled && !object.waiters.empty()) {
    const std::size_t nChosen = object.bManualReset ? 0 : m_scheduler.ChooseWaiter(object.waiters);
    VirtualThread& thread = *object.waiters[nChosen];
    const auto wait =
        std::ranges::find_if(thread.waits, [&object](const WaitedHandle& entry) { return entry.pObject == &object; });
    thread.dwWokenBy = static_cast<DWORD>(wait - thread.waits.begin());
    thread.pWokenBy = &object;
    object.bSignalled = object.bManualReset;
    EndWait(thread);
    m_scheduler.Wake(thread, WakeReason::Woken);
  }
}

// ---- waits ----

DWORD VirtualKernel::WaitForMultipleObjects(std::span<const HANDLE> handles, DWORD dwMilliseconds) {
  DWORD dwResult = 0;
  char* pToken = nullptr;
  {
    const UnobservedScope scope;
    m_scheduler.Point("WaitForMultipleObjects");
    KernelObject* pTaken = nullptr;
    dwResult = WaitFor(handles, dwMilliseconds, &pTaken);
    m_scheduler.NoteResult(m_clock.Now());
    m_scheduler.NoteResult(dwResult);
    pToken = pTaken == nullptr ? nullptr : &pTaken->token;
  }
  if (pToken != nullptr) {
    Acquire(pToken);
  }
  return dwResult;
}

DWORD VirtualKernel::WaitFor(std::span<const HANDLE> handles, DWORD dwMilliseconds, KernelObject** ppTaken) {
  VirtualThread& thread = m_scheduler.Current();
  if (handles.empty() || handles.size() > MAXIMUM_WAIT_OBJECTS) {
    return WAIT_FAILED;
  }
  if (dwMilliseconds > 0) {
    m_checks.WaitBegins(thread);
  }
  thread.waits.clear();
  for (const HANDLE handle : handles) {
    KernelObject* pObject = Find(handle);
    if (pObject == nullptr) {
      return WAIT_FAILED;
    }
    thread.waits.push_back({handle, pObject});
  }
  const DWORD dwSignalled = TakeSignalled(thread.waits);
  if (dwSignalled != WAIT_TIMEOUT) {
    *ppTaken = thread.waits[dwSignalled].pObject;
    return dwSignalled;
  }
  if (m_scheduler.WaitsFail()) {
    return WAIT_FAILED;
  }
  return dwMilliseconds == 0 ? WAIT_TIMEOUT : WaitUntilSignalled(thread, dwMilliseconds, ppTaken);
}

DWORD VirtualKernel::WaitUntilSignalled(VirtualThread& thread, DWORD dwMilliseconds, KernelObject** ppTaken) {
  for (const WaitedHandle& wait : thread.waits) {
    wait.pObject->waiters.push_back(&thread);
  }
  switch (m_scheduler.Block(m_scheduler.DeadlineIn(dwMilliseconds))) {
    case WakeReason::Woken:
      *ppTaken = thread.pWokenBy;
      return thread.dwWokenBy;
    case WakeReason::TimedOut:
      EndWait(thread);
      return WAIT_TIMEOUT;
    case WakeReason::Failed:
      EndWait(thread);
      break;
  }
  return WAIT_FAILED;
}

DWORD VirtualKernel::TakeSignalled(const std::vector<WaitedHandle>& waits) {
  for (DWORD i = 0; i < waits.size(); ++i) {
    KernelObject& object = *waits[i].pObject;
    if (object.bSignalled) {
      object.bSignalled = object.bManualReset;
      return i;
    }
  }
  return WAIT_TIMEOUT;
}

void VirtualKernel::EndWait(VirtualThread& thread) {
  for (const WaitedHandle& wait : thread.waits) {
    std::erase(wait.pObject->waiters, &thread);
  }
  thread.waits.clear();
}

bool VirtualKernel::CloseHandle(HANDLE handle) {
  const UnobservedScope scope;
  const VirtualThread& thread = m_scheduler.Point("CloseHandle");
  const KernelObject* pObject = Find(handle);
  if (pObject == nullptr) {
    return false;
  }
  FailWaits(handle, *pObject);
  m_checks.HandleClosed(thread, handle, pObject->name);
  m_handles.erase(handle);
  return true;
}

void VirtualKernel::FailWaits(HANDLE handle, const KernelObject& object) {
  const std::vector<VirtualThread*> waiters = object.waiters;
  for (VirtualThread* pWaiter : waiters) {
    if (std::ranges::any_of(pWaiter->waits, [handle](const auto& wait) { return wait.handle == handle; })) {
      if (pWaiter->bBlocked) {
        m_checks.Note("handle closed during a wait: thread \"" + m_scheduler.Current().name + "\" closes " +
                      object.name + "\n  " + Describe(*pWaiter));
      }
      EndWait(*pWaiter);
      m_scheduler.Wake(*pWaiter, WakeReason::Failed);
    }
  }
}

void VirtualKernel::Sleep(DWORD dwMilliseconds) {
  const UnobservedScope scope;
  VirtualThread& thread = m_scheduler.Point("Sleep");
  if (dwMilliseconds == 0) {
    m_scheduler.Yield();
    return;
  }
  m_checks.WaitBegins(thread);
  if (m_scheduler.WaitsFail() && dwMilliseconds == INFINITE) {
    return;
  }
  thread.waits.clear();
  m_scheduler.Block(m_scheduler.DeadlineIn(dwMilliseconds));
  m_scheduler.NoteResult(m_clock.Now());
}

// ---- locks, time, memory ----

std::unique_ptr<CriticalSection> VirtualKernel::CreateCriticalSection(const char* name) {
  const UnobservedScope scope;
  return std::make_unique<VirtualCriticalSection>(m_scheduler, m_checks, name == nullptr ? "" : name, ++m_nLocks);
}

DWORD VirtualKernel::GetTickCount() {
  const UnobservedScope scope;
  m_scheduler.Point("GetTickCount");
  return m_clock.TickCount();
}

std::uint64_t VirtualKernel::GetMicroseconds() {
  const UnobservedScope scope;
  return m_clock.Now();
}

SYSTEMTIME VirtualKernel::GetLocalTime() {
  const UnobservedScope scope;
  m_scheduler.Point("GetLocalTime");
  return m_clock.LocalTime();
}

void* VirtualKernel::AllocateMemory(std::size_t nBytes) { return std::calloc(1, nBytes); }

void VirtualKernel::FreeMemory(void* pMemory) { std::free(pMemory); }

std::vector<std::string> VirtualKernel::Leftovers() const {
  std::vector<std::string> names;
  for (const auto& [handle, pObject] : m_handles) {
    names.push_back(pObject->name + ", handle open");
  }
  for (const auto& pThread : m_scheduler.Threads()) {
    if (pThread->dwId != 1) {
      names.push_back(pThread->pObject->name + ", alive: " + Describe(*pThread));
    }
  }
  return names;
}

}  // namespace photometer::platform
