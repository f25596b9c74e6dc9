#include "platform/virtual/ExhaustivePolicy.h"

#include "platform/virtual/VirtualThread.h"

namespace photometer::platform {

namespace {

constexpr DWORD MainThread = 1;

}  // namespace

void ExhaustivePolicy::Started(const VirtualThread& thread) {
  if (thread.dwId != MainThread) {
    return;
  }
  m_firstCome = {};
  m_nMade = 0;
  m_nPreemptions = 0;
  m_nDetours = 0;
  m_nPoint = 0;
  m_nPointsInWindow = 0;
  m_bInWindow = false;
  m_bWindowBegan = false;
}

void ExhaustivePolicy::BeginWindow() {
  m_bInWindow = m_bInWindow || !m_bWindowBegan;
  m_bWindowBegan = true;
}

void ExhaustivePolicy::CountPoint() {
  if (++m_nPoint == m_options.nFirstPoint) {
    BeginWindow();
  }
  if (m_bInWindow && ++m_nPointsInWindow > m_options.nMostPoints) {
    EndWindow();
  }
}

std::size_t ExhaustivePolicy::AtPoint(const VirtualThread& running, std::span<VirtualThread* const> ready) {
  CountPoint();
  if (ready.empty()) {
    return GoOn;
  }
  if (!m_bInWindow) {
    return m_firstCome.AtPoint(running, ready);
  }
  const std::size_t nOption = Choose(ready.size() + 1, true);
  return nOption == 0 ? GoOn : nOption - 1;
}

std::size_t ExhaustivePolicy::AtWait(const VirtualThread& running, std::span<VirtualThread* const> ready) {
  const std::size_t nFirst = m_firstCome.AtWait(running, ready);
  return m_bInWindow ? Choose(ready.size(), false) : nFirst;
}

std::size_t ExhaustivePolicy::ChooseWaiter(const VirtualThread& running, std::span<VirtualThread* const> waiters) {
  return m_bInWindow ? Choose(waiters.size(), false) : m_firstCome.ChooseWaiter(running, waiters);
}

// Beyond what is laid down, everything is first come's choice, which is the first one.
std::size_t ExhaustivePolicy::Choose(std::size_t nOptions, bool bPreemption) {
  if (m_nMade == m_choices.size()) {
    m_choices.push_back({nOptions, 0, bPreemption});
  }
  const Choice& choice = m_choices[m_nMade++];
  if (choice.nOptions != nOptions || choice.bPreemption != bPreemption) {
    m_bDiverged = true;
    return 0;
  }
  if (choice.nChosen > 0) {
    ++(bPreemption ? m_nPreemptions : m_nDetours);
  }
  return choice.nChosen;
}

bool ExhaustivePolicy::MayTakeMore(const Choice& choice) const {
  if (choice.nChosen + 1 >= choice.nOptions) {
    return false;
  }
  if (choice.nChosen > 0) {
    return true;
  }
  return choice.bPreemption ? m_nPreemptions < m_options.nMostPreemptions : m_nDetours < m_options.nMostDetours;
}

bool ExhaustivePolicy::NextSchedule() {
  ++m_nSchedules;
  m_bDiverged = m_bDiverged || m_nMade != m_choices.size();
  if (m_bDiverged) {
    return false;
  }
  while (!m_choices.empty()) {
    Choice& last = m_choices.back();
    if (MayTakeMore(last)) {
      ++last.nChosen;
      return true;
    }
    if (last.nChosen > 0) {
      --(last.bPreemption ? m_nPreemptions : m_nDetours);
    }
    m_choices.pop_back();
  }
  return false;
}

}  // namespace photometer::platform
