#include "state/WorkerThreads.h"

#include <algorithm>
#include <utility>

namespace photometer {

WorkerThreads::~WorkerThreads() {
  for (const Thread& thread : m_Threads) {
    CloseHandle(thread.hThread);
  }
}

BOOL WorkerThreads::Start(const char* name, std::function<void()> body, DWORD* pThreadId) {
  const auto state = m_State.Lock();
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
  const DWORD dwStart = GetTickCount();
  for (const HANDLE hThread : OthersRunning()) {
    const DWORD dwElapsed = GetTickCount() - dwStart;
    const DWORD dwRest = dwElapsed < dwMilliseconds ? dwMilliseconds - dwElapsed : 0;
    if (WaitForSingleObject(hThread, dwRest) == WAIT_TIMEOUT) {
      return FALSE;
    }
  }
  const auto state = m_State.Lock();
  Reap();
  return TRUE;
}

void WorkerThreads::Reap() {
  std::erase_if(m_Threads, [](const Thread& thread) {
    const bool bEnded = WaitForSingleObject(thread.hThread, 0) != WAIT_TIMEOUT;
    if (bEnded) {
      CloseHandle(thread.hThread);
    }
    return bEnded;
  });
}

std::vector<HANDLE> WorkerThreads::OthersRunning() {
  const DWORD dwSelf = GetCurrentThreadId();
  const auto state = m_State.Lock();
  std::vector<HANDLE> handles;
  for (const Thread& thread : m_Threads) {
    if (thread.dwThreadId != dwSelf) {
      handles.push_back(thread.hThread);
    }
  }
  return handles;
}

}  // namespace photometer
