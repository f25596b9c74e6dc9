#include "platform/posix/PosixKernel.h"

#include <sched.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>

#include "platform/posix/PosixClock.h"
#include "platform/posix/PosixCriticalSection.h"
#include "platform/posix/PosixThread.h"
#include "platform/posix/PosixWait.h"

namespace photometer::platform {

PosixKernel::PosixKernel(DWORD dwTickOffset)
    : m_pWaits(std::make_shared<PosixWaits>()), m_dwTickOffset(dwTickOffset), m_nStart(MonotonicNanoseconds()) {}

PosixKernel::~PosixKernel() = default;

HANDLE PosixKernel::CreateThread(ThreadStart start, DWORD* pThreadId) {
  std::shared_ptr<PosixWaitable> end;
  const HANDLE handle = m_pWaits->CreateThreadEnd(&end);
  const DWORD dwThreadId = NewThreadId();
  if (pThreadId != nullptr) *pThreadId = dwThreadId;

  auto run = [pWaits = m_pWaits, end, body = std::move(start.body)]() mutable {
    body();
    body = nullptr;
    pWaits->SignalEnd(*end);
  };
  if (StartDetachedThread({std::move(run), std::move(start.name)}, dwThreadId)) return handle;
  m_pWaits->Close(handle);
  return 0;
}

DWORD PosixKernel::GetCurrentThreadId() { return CurrentThreadId(); }

HANDLE PosixKernel::CreateEvent(bool bManualReset, bool bInitialState, const std::u16string& name) {
  return m_pWaits->CreateEvent(bManualReset, bInitialState, name);
}

bool PosixKernel::ModifyEvent(HANDLE handle, EventAction action) { return m_pWaits->ModifyEvent(handle, action); }

DWORD PosixKernel::WaitForMultipleObjects(std::span<const HANDLE> handles, DWORD dwMilliseconds) {
  const std::shared_ptr<PosixWaits> pWaits = m_pWaits;
  return pWaits->WaitForAny(handles, dwMilliseconds);
}

bool PosixKernel::CloseHandle(HANDLE handle) { return m_pWaits->Close(handle); }

std::unique_ptr<CriticalSection> PosixKernel::CreateCriticalSection(const char* name) {
  return std::make_unique<PosixCriticalSection>(name);
}

void PosixKernel::Sleep(DWORD dwMilliseconds) {
  if (dwMilliseconds == 0) {
    sched_yield();
    return;
  }
  const timespec deadline = ToTimespec(DeadlineAfter(dwMilliseconds));
  while (clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &deadline, nullptr) == EINTR) {
  }
}

DWORD PosixKernel::GetTickCount() {
  return static_cast<DWORD>(MonotonicNanoseconds() / NanosecondsPerMillisecond) + m_dwTickOffset;
}

std::uint64_t PosixKernel::GetMicroseconds() {
  return static_cast<std::uint64_t>((MonotonicNanoseconds() - m_nStart) / NanosecondsPerMicrosecond);
}

SYSTEMTIME PosixKernel::GetLocalTime() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  tm local{};
  localtime_r(&now.tv_sec, &local);
  constexpr int nFirstYear = 1900;
  return {.wYear = static_cast<WORD>(local.tm_year + nFirstYear),
          .wMonth = static_cast<WORD>(local.tm_mon + 1),
          .wDayOfWeek = static_cast<WORD>(local.tm_wday),
          .wDay = static_cast<WORD>(local.tm_mday),
          .wHour = static_cast<WORD>(local.tm_hour),
          .wMinute = static_cast<WORD>(local.tm_min),
          .wSecond = static_cast<WORD>(local.tm_sec),
          .wMilliseconds = static_cast<WORD>(now.tv_nsec / NanosecondsPerMillisecond)};
}

void* PosixKernel::AllocateMemory(std::size_t nBytes) { return std::calloc(std::max<std::size_t>(nBytes, 1), 1); }

void PosixKernel::FreeMemory(void* pMemory) { std::free(pMemory); }

}  // namespace photometer::platform
