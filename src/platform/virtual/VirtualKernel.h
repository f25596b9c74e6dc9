/// Threads, events, waits, locks and time of the virtual board.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/Board.h"
#include "platform/virtual/RuleChecks.h"
#include "platform/virtual/Scheduler.h"
#include "platform/virtual/VirtualClock.h"

namespace photometer::platform {

class VirtualKernel final : public Kernel {
 public:
  VirtualKernel(Scheduler& scheduler, VirtualClock& clock, RuleChecks& checks);

  HANDLE CreateThread(ThreadStart start, DWORD* pThreadId) override;
  DWORD GetCurrentThreadId() override;
  HANDLE CreateEvent(bool bManualReset, bool bInitialState, const std::u16string& name) override;
  bool ModifyEvent(HANDLE handle, EventAction action) override;
  DWORD WaitForMultipleObjects(std::span<const HANDLE> handles, DWORD dwMilliseconds) override;
  bool CloseHandle(HANDLE handle) override;
  std::unique_ptr<CriticalSection> CreateCriticalSection(const char* name) override;
  void Sleep(DWORD dwMilliseconds) override;
  DWORD GetTickCount() override;
  /// Not a scheduling point, so that a run is the same with and without a trace.
  std::uint64_t GetMicroseconds() override;
  SYSTEMTIME GetLocalTime() override;
  void* AllocateMemory(std::size_t nBytes) override;
  void FreeMemory(void* pMemory) override;

  /// As `VirtualBoard::RunAtPoint`.
  void RunAtPoint(std::uint64_t nPoint, const std::string& name, std::function<void()> body);
  /// Open handles of threads and events by name, and threads that have not ended.
  [[nodiscard]] std::vector<std::string> Leftovers() const;

 private:
  void AbandonLocks(VirtualThread& thread);
  std::shared_ptr<KernelObject> NewThreadObject(const std::string& name);
  HANDLE CreateEventObject(bool bManualReset, bool bInitialState, const std::u16string& name);
  KernelObject* Find(HANDLE handle);
  KernelObject* FindEvent(HANDLE handle);
  void Signal(KernelObject& object);
  /// `WAIT_TIMEOUT` when none is signalled.
  DWORD TakeSignalled(const std::vector<WaitedHandle>& waits);
  DWORD WaitFor(std::span<const HANDLE> handles, DWORD dwMilliseconds, KernelObject** ppTaken);
  DWORD WaitUntilSignalled(VirtualThread& thread, DWORD dwMilliseconds, KernelObject** ppTaken);
  /// The thread waits for nothing any more.
  static void EndWait(VirtualThread& thread);
  void FailWaits(HANDLE handle, const KernelObject& object);

  Scheduler& m_scheduler;
  VirtualClock& m_clock;
  RuleChecks& m_checks;
  std::map<HANDLE, std::shared_ptr<KernelObject>> m_handles;
  std::map<std::u16string, std::weak_ptr<KernelObject>> m_named;
  unsigned m_nObjects = 0;
  unsigned m_nLocks = 0;
};

}  // namespace photometer::platform
