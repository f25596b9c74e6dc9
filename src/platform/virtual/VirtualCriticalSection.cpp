#include "platform/virtual/VirtualCriticalSection.h"

#include <algorithm>

#include "platform/Sanitizers.h"

namespace photometer::platform {

VirtualCriticalSection::VirtualCriticalSection(Scheduler& scheduler, RuleChecks& checks, const std::string& name,
                                               unsigned nNumber)
    : m_scheduler(scheduler), m_checks(checks), m_pState(std::make_unique<LockState>()) {
  m_pState->name = name;
  m_pState->nNumber = nNumber;
}

VirtualCriticalSection::~VirtualCriticalSection() {
  const UnobservedScope scope;
  m_checks.LockDestroyed(*m_pState);
  if (m_pState->pOwner != nullptr) {
    std::erase(m_pState->pOwner->held, m_pState.get());
  }
  for (VirtualThread* pWaiter : m_pState->waiters) {
    pWaiter->pWaitsForLock = nullptr;
    m_scheduler.Wake(*pWaiter, WakeReason::Failed);
  }
  m_pState.reset();
}

void VirtualCriticalSection::Enter() {
  char* pToken = nullptr;
  {
    const UnobservedScope scope;
    pToken = Take() ? &m_pState->token : nullptr;
  }
  if (pToken != nullptr) {
    Acquire(pToken);
  }
}

bool VirtualCriticalSection::Take() {
  VirtualThread& thread = m_scheduler.Point("EnterCriticalSection");
  LockState& state = *m_pState;
  if (state.pOwner == &thread) {
    ++state.nDepth;
    return false;
  }
  m_checks.LockRequested(thread, state);
  while (state.pOwner != nullptr) {
    if (!WaitForOwner(thread)) {
      return false;
    }
  }
  state.pOwner = &thread;
  state.nDepth = 1;
  thread.held.push_back(&state);
  return true;
}

bool VirtualCriticalSection::WaitForOwner(VirtualThread& thread) {
  thread.pWaitsForLock = m_pState.get();
  CheckForDeadlock(thread);
  if (m_scheduler.WaitsFail()) {
    thread.pWaitsForLock = nullptr;
    return false;
  }
  m_pState->waiters.push_back(&thread);
  const WakeReason reason = m_scheduler.Block(NoDeadline);
  if (thread.pWaitsForLock == nullptr) {
    return false;
  }
  thread.pWaitsForLock = nullptr;
  std::erase(m_pState->waiters, &thread);
  return reason == WakeReason::Woken;
}

// Threads that poll keep time going, so that one would never see that two others wait for each other.
void VirtualCriticalSection::CheckForDeadlock(VirtualThread& thread) {
  const LockState* pLock = m_pState.get();
  while (pLock != nullptr && pLock->pOwner != nullptr && pLock->pOwner != &thread) {
    pLock = pLock->pOwner->pWaitsForLock;
  }
  if (pLock == nullptr || pLock->pOwner == nullptr) {
    return;
  }
  m_scheduler.Deadlock("deadlock: threads wait for each other's locks");
}

void VirtualCriticalSection::Leave() {
  char* pToken = nullptr;
  {
    const UnobservedScope scope;
    pToken = MayRelease() ? &m_pState->token : nullptr;
  }
  if (pToken == nullptr) {
    return;
  }
  Release(pToken);
  const UnobservedScope scope;
  HandOn();
}

bool VirtualCriticalSection::MayRelease() {
  const VirtualThread& thread = m_scheduler.Point("LeaveCriticalSection");
  LockState& state = *m_pState;
  if (state.pOwner != &thread) {
    if (!m_scheduler.WaitsFail()) {
      const std::string owner = state.pOwner == nullptr ? "nobody" : '"' + state.pOwner->name + '"';
      m_checks.Note("lock left by another thread: \"" + thread.name + "\" leaves " + state.name + ", owner " + owner);
    }
    return false;
  }
  return --state.nDepth == 0;
}

void VirtualCriticalSection::HandOn() {
  LockState& state = *m_pState;
  std::erase(state.pOwner->held, &state);
  state.pOwner = nullptr;
  if (state.waiters.empty()) {
    return;
  }
  const std::size_t nChosen = m_scheduler.ChooseWaiter(state.waiters);
  VirtualThread* pWaiter = state.waiters[nChosen];
  state.waiters.erase(state.waiters.begin() + static_cast<std::ptrdiff_t>(nChosen));
  m_scheduler.Wake(*pWaiter, WakeReason::Woken);
}

}  // namespace photometer::platform
