#include "platform/virtual/Scheduler.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

#include "platform/Sanitizers.h"

namespace photometer::platform {

namespace {

/// Calls of one thread while time stands still, after which it is said to spin.
constexpr std::uint64_t SpinCalls = 1'000'000;
/// A thread that spins is given this many times of progress before the run is given up.
constexpr unsigned MostSpins = 20;
/// Time that a spinning thread uses up when nothing else is due.
constexpr std::uint64_t SpinMicroseconds = 1000;

[[noreturn]] void GiveUp(const std::string& report) {
  std::fflush(stdout);
  std::fprintf(stderr, "virtual board: %s\n", report.c_str());
  std::fflush(stderr);
  std::_Exit(3);
}

std::shared_ptr<SchedulingPolicy> PolicyOf(const VirtualBoardOptions& options) {
  std::shared_ptr<SchedulingPolicy> pPolicy = options.pPolicy;
  if (pPolicy == nullptr) {
    pPolicy = MakePolicy(options.policy, options.seed);
  }
  if (options.varyTimes.value_or(options.policy != Policy::FirstCome)) {
    pPolicy->VaryTimes(options.seed);
  }
  if (options.bHoldUps) {
    pPolicy->HoldUpThreads(options.seed);
  }
  return pPolicy;
}

}  // namespace

Scheduler::Scheduler(const VirtualBoardOptions& options, VirtualClock& clock, RuleChecks& checks)
    : m_clock(clock), m_checks(checks), m_pPolicy(PolicyOf(options)) {
  if (options.bRecordDecisions) {
    m_pRecord = std::make_shared<RecordingPolicy>(m_pPolicy);
    m_pPolicy = m_pRecord;
  }
  m_bSeesEveryPoint = m_pPolicy->SeesEveryPoint();
  m_threads.push_back(std::make_unique<VirtualThread>(this));
  m_pCurrent = m_threads.front().get();
  m_pPolicy->Started(*m_pCurrent);
}

VirtualThread& Scheduler::Point(const char* call) {
  VirtualThread& thread = *m_pCurrent;
  thread.call = call;
  ++thread.nCalls;
  thread.nWaitsInCall = 0;
  if (++m_nPoints >= m_nNextInjection) {
    Inject();
    thread.call = call;
  }
  if (thread.nWindow != m_nWindow) {
    thread.nWindow = m_nWindow;
    thread.nCallsInWindow = 0;
  }
  if (++thread.nCallsInWindow >= SpinCalls) {
    NoteSpin(thread);
  }
  if (const std::uint64_t nHeldUp = m_pPolicy->HeldUpFor(thread); nHeldUp > 0) {
    thread.bHeldUp = true;
    Block(m_clock.Now() + nHeldUp);
    thread.bHeldUp = false;
  }
  if (!m_ready.empty()) {
    const std::size_t nChosen = m_pPolicy->AtPoint(thread, m_ready);
    NoteResult(nChosen);
    if (nChosen != SchedulingPolicy::GoOn) {
      VirtualThread& next = TakeReady(nChosen);
      m_ready.push_back(&thread);
      SwitchTo(next);
    }
  } else if (m_bSeesEveryPoint) {
    m_pPolicy->AtPoint(thread, m_ready);
  }
  return thread;
}

void Scheduler::Yield() {
  m_ready.push_back(m_pCurrent);
  m_pPolicy->Yields(*m_pCurrent);
  SwitchTo(NextThread());
}

VirtualThread& Scheduler::Start(std::function<void()> body, const std::string& name,
                                std::shared_ptr<KernelObject> pObject) {
  m_threads.push_back(std::make_unique<VirtualThread>(this, &Scheduler::ThreadMain, name));
  VirtualThread& thread = *m_threads.back();
  thread.dwId = ++m_dwLastId;
  thread.body = std::move(body);
  thread.pObject = std::move(pObject);
  m_ready.push_back(&thread);
  m_pPolicy->Started(thread);
  return thread;
}

// An exception that leaves the body ends the process, as with every thread.
void Scheduler::ThreadMain(void* pThread) {
  VirtualThread* pStarted = nullptr;
  char* pToken = nullptr;
  std::function<void()> body;
  {
    const UnobservedScope scope;
    pStarted = static_cast<VirtualThread*>(pThread);
    pStarted->pScheduler->Reap();
    pToken = &pStarted->pObject->token;
    body = std::move(pStarted->body);
  }
  Acquire(pToken);
  [&body]() noexcept { body(); }();
  body = nullptr;
  Release(pToken);
  Fiber* pFiber = nullptr;
  Fiber* pNext = nullptr;
  {
    const UnobservedScope scope;
    pFiber = &pStarted->fiber;
    pNext = &pStarted->pScheduler->FinishThread(*pStarted).fiber;
  }
  pFiber->LeaveFor(*pNext);
}

VirtualThread& Scheduler::FinishThread(VirtualThread& thread) {
  thread.call = "its end";
  m_checks.ThreadEnds(thread);
  m_onThreadEnd(thread);
  m_pEnded = &thread;
  VirtualThread& next = NextThread();
  m_pCurrent = &next;
  ++m_nSwitches;
  return next;
}

void Scheduler::SwitchTo(VirtualThread& next) {
  VirtualThread& from = *m_pCurrent;
  if (&from == &next) {
    return;
  }
  ++m_nSwitches;
  m_pCurrent = &next;
  from.fiber.SwitchTo(next.fiber);
  Reap();
}

// The stack of a thread that has ended can only be given back from another one.
void Scheduler::Reap() {
  if (m_pEnded == nullptr) {
    return;
  }
  std::erase_if(m_threads, [this](const auto& pThread) { return pThread.get() == m_pEnded; });
  m_pEnded = nullptr;
}

VirtualThread& Scheduler::TakeReady(std::size_t nIndex) {
  VirtualThread* pThread = m_ready[nIndex];
  m_ready.erase(m_ready.begin() + static_cast<std::ptrdiff_t>(nIndex));
  return *pThread;
}

VirtualThread& Scheduler::NextThread() {
  while (m_ready.empty()) {
    if (!MoveTime()) {
      Deadlock("deadlock: no thread can run, and no deadline is left");
    }
  }
  if (m_ready.size() == 1) {
    return TakeReady(0);
  }
  const std::size_t nChosen = m_pPolicy->AtWait(*m_pCurrent, m_ready);
  m_pCurrent->nWaitsInCall += m_pCurrent->bHeldUp ? 0 : 1;
  NoteResult(nChosen);
  return TakeReady(nChosen);
}

WakeReason Scheduler::Block(std::uint64_t nDeadline) {
  VirtualThread& thread = *m_pCurrent;
  thread.bBlocked = true;
  thread.nDeadline = nDeadline;
  thread.nDeadlineOrder = ++m_nDeadlines;
  thread.nSpins = 0;
  SwitchTo(NextThread());
  return thread.wakeReason;
}

void Scheduler::Wake(VirtualThread& thread, WakeReason reason) {
  if (!thread.bBlocked) {
    return;
  }
  thread.bBlocked = false;
  thread.nDeadline = NoDeadline;
  thread.wakeReason = reason;
  m_ready.push_back(&thread);
}

std::uint64_t Scheduler::DeadlineIn(DWORD dwMilliseconds) {
  if (dwMilliseconds == INFINITE) {
    return NoDeadline;
  }
  return m_clock.Now() + dwMilliseconds * MicrosecondsPerMillisecond + m_pPolicy->LateBy(*m_pCurrent);
}

DecisionList Scheduler::Decisions() const { return m_pRecord == nullptr ? DecisionList() : m_pRecord->Decisions(); }

// ---- time ----

std::uint64_t Scheduler::NextDeadline() const {
  std::uint64_t nDeadline = NoDeadline;
  for (const auto& pThread : m_threads) {
    nDeadline = std::min(nDeadline, pThread->nDeadline);
  }
  // Without a deadline only a thread that reads from a line could still be woken by what happens there.
  if (nDeadline == NoDeadline && !m_pSource->ThreadsWait()) {
    return NoDeadline;
  }
  return std::min(nDeadline, m_pSource->NextEvent());
}

bool Scheduler::MoveTime() {
  const std::uint64_t nDeadline = NextDeadline();
  if (nDeadline == NoDeadline) {
    return false;
  }
  if (nDeadline > m_clock.Now()) {
    m_clock.MoveTo(nDeadline);
    ++m_nWindow;
  }
  m_pSource->Advance();
  WakeDueThreads();
  return true;
}

void Scheduler::WakeDueThreads() {
  for (;;) {
    VirtualThread* pFirst = nullptr;
    for (const auto& pThread : m_threads) {
      const bool bDue = pThread->nDeadline <= m_clock.Now();
      if (bDue && (pFirst == nullptr || std::pair(pThread->nDeadline, pThread->nDeadlineOrder) <
                                            std::pair(pFirst->nDeadline, pFirst->nDeadlineOrder))) {
        pFirst = pThread.get();
      }
    }
    if (pFirst == nullptr) {
      return;
    }
    Wake(*pFirst, WakeReason::TimedOut);
  }
}

void Scheduler::NoteSpin(VirtualThread& thread) {
  const std::string report = "thread spins: \"" + thread.name + "\" has called the layer " + std::to_string(SpinCalls) +
                             " times while time stood still, last " + thread.call + "; holds " + HeldText(thread);
  m_checks.Note(report);
  thread.nCallsInWindow = 0;
  if (++thread.nSpins >= MostSpins) {
    GiveUp(report);
  }
  // As with a real processor, the time that it wastes passes for the others.
  if (!MoveTime()) {
    m_clock.MoveTo(m_clock.Now() + SpinMicroseconds);
    ++m_nWindow;
  }
}

// ---- deadlock and injected threads ----

void Scheduler::Deadlock(const std::string& headline) {
  std::string report = headline;
  for (const auto& pThread : m_threads) {
    if (pThread.get() != m_pEnded) {
      report += "\n  " + Describe(*pThread);
    }
  }
  m_checks.Note(report);
  if (!m_onDeadlock || m_bWaitsFail) {
    GiveUp(report);
  }
  m_bWaitsFail = true;
  m_onDeadlock(report);
  for (const auto& pThread : m_threads) {
    Wake(*pThread, WakeReason::Failed);
  }
}

void Scheduler::RunAtPoint(std::uint64_t nPoint, const std::string& name, std::function<void()> body,
                           std::shared_ptr<KernelObject> pObject) {
  m_injections.push_back({nPoint, name, std::move(body), std::move(pObject)});
  m_nNextInjection = std::min(m_nNextInjection, nPoint);
}

void Scheduler::Inject() {
  std::vector<VirtualThread*> started;
  m_nNextInjection = UINT64_MAX;
  for (auto injection = m_injections.begin(); injection != m_injections.end();) {
    if (injection->nPoint > m_nPoints) {
      m_nNextInjection = std::min(m_nNextInjection, injection->nPoint);
      ++injection;
      continue;
    }
    started.push_back(&Start(std::move(injection->body), injection->name, std::move(injection->pObject)));
    m_ready.pop_back();
    injection = m_injections.erase(injection);
  }
  // They run before everybody else, and the interrupted thread right after them.
  m_ready.insert(m_ready.begin(), m_pCurrent);
  m_ready.insert(m_ready.begin(), started.begin(), started.end());
  SwitchTo(TakeReady(0));
}

}  // namespace photometer::platform
