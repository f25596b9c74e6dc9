#include "platform/posix/PosixCriticalSection.h"

#include <cstdio>

#include "platform/posix/PosixThread.h"

namespace photometer::platform {

PosixCriticalSection::PosixCriticalSection(const char* name) : m_strName(name != nullptr ? name : "") {}

void PosixCriticalSection::Enter() {
  const DWORD dwSelf = CurrentThreadId();
  if (m_dwOwner.load(std::memory_order_relaxed) != dwSelf) {
    m_mutex.lock();
    m_dwOwner.store(dwSelf, std::memory_order_relaxed);
  }
  ++m_dwDepth;
}

void PosixCriticalSection::Leave() {
  const DWORD dwSelf = CurrentThreadId();
  if (m_dwOwner.load(std::memory_order_relaxed) != dwSelf) {
    std::fprintf(stderr, "photometer: thread %u leaves the critical section \"%s\", which it does not own; ignored\n",
                 dwSelf, m_strName.c_str());
    return;
  }
  if (--m_dwDepth > 0) return;
  m_dwOwner.store(0, std::memory_order_relaxed);
  m_mutex.unlock();
}

}  // namespace photometer::platform
