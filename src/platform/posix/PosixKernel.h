/// Threads, events, waits, locks, time and memory of the POSIX board.
///
/// **Threads.** A thread and everything that waits share the ownership of what they need: the kernel's destructor waits
/// for nobody, and a thread that outlives it ends quietly, as long as it makes no further call. A thread's handle is
/// signalled after what its body captured has been destroyed. **Named events** are known in this kernel only.
/// **Critical sections** left by a thread that does not own them stay as they are; a note goes to standard error.
#pragma once

#include <memory>

#include "platform/Board.h"

namespace photometer::platform {

class PosixWaits;

class PosixKernel final : public Kernel {
 public:
  /// The offset is added to every tick, in ms; with it a test lets the counter wrap when it likes.
  explicit PosixKernel(DWORD dwTickOffset = 0);
  ~PosixKernel() override;

  HANDLE CreateThread(ThreadStart start, DWORD* pThreadId) override;
  DWORD GetCurrentThreadId() override;
  HANDLE CreateEvent(bool bManualReset, bool bInitialState, const std::u16string& name) override;
  bool ModifyEvent(HANDLE handle, EventAction action) override;
  DWORD WaitForMultipleObjects(std::span<const HANDLE> handles, DWORD dwMilliseconds) override;
  bool CloseHandle(HANDLE handle) override;
  std::unique_ptr<CriticalSection> CreateCriticalSection(const char* name) override;
  void Sleep(DWORD dwMilliseconds) override;
  DWORD GetTickCount() override;
  std::uint64_t GetMicroseconds() override;
  SYSTEMTIME GetLocalTime() override;
  void* AllocateMemory(std::size_t nBytes) override;
  void FreeMemory(void* pMemory) override;

 private:
  std::shared_ptr<PosixWaits> m_pWaits;
  DWORD m_dwTickOffset;
  /// When the kernel was made, on the monotonic clock, ns.
  std::int64_t m_nStart;
};

}  // namespace photometer::platform
