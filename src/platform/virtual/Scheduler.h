/// Runs the simulated threads, one at a time, and moves time when none can run.
///
/// Everything here is called inside an `UnobservedScope`, on the board's operating-system thread. The hash covers every
/// choice between several threads and what callers add with `NoteResult`.
#pragma once

#include <bit>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "platform/virtual/RecordingPolicy.h"
#include "platform/virtual/RuleChecks.h"
#include "platform/virtual/SchedulingPolicy.h"
#include "platform/virtual/VirtualClock.h"
#include "platform/virtual/VirtualThread.h"

namespace photometer::platform {

/// Something beside the threads that happens in time: the serial lines.
class TimedSource {
 public:
  virtual ~TimedSource() = default;
  /// When something happens next, `NoDeadline` if nothing does.
  [[nodiscard]] virtual std::uint64_t NextEvent() = 0;
  /// Lets happen what is due.
  virtual void Advance() = 0;
  /// Whether what happens could make a waiting thread ready.
  [[nodiscard]] virtual bool ThreadsWait() const = 0;
};

class Scheduler {
 public:
  Scheduler(const VirtualBoardOptions& options, VirtualClock& clock, RuleChecks& checks);
  Scheduler(const Scheduler&) = delete;
  Scheduler& operator=(const Scheduler&) = delete;

  /// `source` must outlive the scheduler.
  void SetTimedSource(TimedSource& source) { m_pSource = &source; }
  /// Called on the ending thread, before its handle is signalled.
  void OnThreadEnd(std::function<void(VirtualThread&)> action) { m_onThreadEnd = std::move(action); }
  void OnDeadlock(std::function<void(const std::string&)> handler) { m_onDeadlock = std::move(handler); }

  [[nodiscard]] VirtualThread& Current() { return *m_pCurrent; }
  /// All that have not ended, in the order of their start; the first is "main".
  [[nodiscard]] const std::vector<std::unique_ptr<VirtualThread>>& Threads() const { return m_threads; }

  /// A call of the layer begins: others may run before it goes on.
  VirtualThread& Point(const char* call);
  /// The calling thread goes behind all that are ready.
  void Yield();
  /// A new thread that is ready to run. `pObject` is signalled at its end.
  VirtualThread& Start(std::function<void()> body, const std::string& name, std::shared_ptr<KernelObject> pObject);
  /// The calling thread waits until it is woken or the deadline has come. What it waits for is set by the caller
  /// before, and taken back after.
  WakeReason Block(std::uint64_t nDeadline);
  void Wake(VirtualThread& thread, WakeReason reason);
  /// Index of the waiter that gets what became free.
  std::size_t ChooseWaiter(const std::vector<VirtualThread*>& waiters) {
    return waiters.size() == 1 ? 0 : m_pPolicy->ChooseWaiter(*m_pCurrent, waiters);
  }
  /// Now and so many milliseconds, and what the policy adds.
  std::uint64_t DeadlineIn(DWORD dwMilliseconds);
  [[nodiscard]] SchedulingPolicy& GetPolicy() { return *m_pPolicy; }
  /// The choices so far that are not first come's; none when they are not recorded.
  [[nodiscard]] DecisionList Decisions() const;
  void RunAtPoint(std::uint64_t nPoint, const std::string& name, std::function<void()> body,
                  std::shared_ptr<KernelObject> pObject);

  /// No thread can ever go on: tells the handler and lets every wait fail from now on, or ends the process.
  void Deadlock(const std::string& headline);
  /// After a deadlock: waits fail at once, and locks are not waited for.
  [[nodiscard]] bool WaitsFail() const { return m_bWaitsFail; }

  // Turned as well as multiplied: products alone let runs collide that make the same choices in another order.
  void NoteResult(std::uint64_t nValue) { m_nHash = std::rotl(m_nHash ^ nValue, 29) * 0x9E3779B97F4A7C15U; }
  [[nodiscard]] std::uint64_t Hash() const { return m_nHash; }
  [[nodiscard]] std::uint64_t Points() const { return m_nPoints; }
  [[nodiscard]] std::uint64_t Switches() const { return m_nSwitches; }

 private:
  struct Injection {
    std::uint64_t nPoint;
    std::string name;
    std::function<void()> body;
    std::shared_ptr<KernelObject> pObject;
  };

  static void ThreadMain(void* pThread);
  VirtualThread& FinishThread(VirtualThread& thread);
  void SwitchTo(VirtualThread& next);
  void Reap();
  VirtualThread& TakeReady(std::size_t nIndex);
  VirtualThread& NextThread();
  void Inject();
  [[nodiscard]] std::uint64_t NextDeadline() const;
  bool MoveTime();
  void WakeDueThreads();
  void NoteSpin(VirtualThread& thread);

  VirtualClock& m_clock;
  RuleChecks& m_checks;
  std::shared_ptr<SchedulingPolicy> m_pPolicy;
  /// The same as the policy, or null.
  std::shared_ptr<RecordingPolicy> m_pRecord;
  bool m_bSeesEveryPoint;
  TimedSource* m_pSource = nullptr;
  std::function<void(VirtualThread&)> m_onThreadEnd;
  std::function<void(const std::string&)> m_onDeadlock;

  std::vector<std::unique_ptr<VirtualThread>> m_threads;
  std::vector<VirtualThread*> m_ready;
  VirtualThread* m_pCurrent = nullptr;
  VirtualThread* m_pEnded = nullptr;
  DWORD m_dwLastId = 1;
  std::list<Injection> m_injections;
  std::uint64_t m_nNextInjection = UINT64_MAX;

  bool m_bWaitsFail = false;
  std::uint64_t m_nPoints = 0;
  std::uint64_t m_nSwitches = 0;
  std::uint64_t m_nWindow = 1;
  std::uint64_t m_nDeadlines = 0;
  std::uint64_t m_nHash = 0xCBF29CE484222325U;
};

}  // namespace photometer::platform
