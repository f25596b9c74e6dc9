#include "state/WorkerThreads.h"

#include <algorithm>
#include <utility>

#include "state/Deadline.h"

namespace photometer {

WorkerThreads::~WorkerThreads() {
  for (const Thread& thread : m_Threads) {
    CloseHandle(thread.hThread);
  }
}

BOOL WorkerThreads::Start(const char* name, std::function<void()> body, DWORD* pThreadId) {
  const auto state = m_State.Lock();
  if (m_State.IsStopping()) {
    return FALSE;  // whoever waits for the threads has counted them, or is about to
  }
  Reap();
  DWORD dwThreadId = 0;
  auto keepingOwner = [pOwner = m_pOwner.lock(), body = std::move(body)] { body(); };
  const HANDLE hThread = CreateThread(std::move(keepingOwner), name, &dwThreadId);
  if (hThread == 0) {
    return FALSE;
  }
  m_Threads.push_back({hThread, dwThreadId});
  if (pThreadId != nullptr) {
    *pThreadId = dwThreadId;
  }
  return TRUE;
}

BOOL WorkerThreads::WaitUntilEnded(DWORD dwMilliseconds) {
  const Deadline limit(dwMilliseconds);
  BOOL bEnded = TRUE;
  for (const HANDLE hThread : BeginWait()) {
    bEnded = WaitForSingleObject(hThread, limit.Rest()) == WAIT_OBJECT_0 && bEnded;
  }
  EndWait();
  return bEnded;
}

void WorkerThreads::Reap() {
  if (m_iWaits != 0) {
    return;  // somebody waits for these handles
  }
  std::erase_if(m_Threads, [](const Thread& thread) {
    const bool bEnded = WaitForSingleObject(thread.hThread, 0) == WAIT_OBJECT_0;
    if (bEnded) {
      CloseHandle(thread.hThread);
    }
    return bEnded;
  });
}

std::vector<HANDLE> WorkerThreads::BeginWait() {
  const DWORD dwSelf = GetCurrentThreadId();
  const auto state = m_State.Lock();
  ++m_iWaits;
  std::vector<HANDLE> handles;
  for (const Thread& thread : m_Threads) {
    if (thread.dwThreadId != dwSelf) {
      handles.push_back(thread.hThread);
    }
  }
  return handles;
}

void WorkerThreads::EndWait() {
  const auto state = m_State.Lock();
  --m_iWaits;
  Reap();
}

}  // namespace photometer
