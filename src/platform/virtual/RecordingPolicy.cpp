#include "platform/virtual/RecordingPolicy.h"

#include "platform/virtual/ReplayPolicy.h"
#include "platform/virtual/VirtualThread.h"

namespace photometer::platform {

// First come is asked whenever a replay would ask it, and no more often: it counts calls.
std::size_t RecordingPolicy::AtPoint(const VirtualThread& running, std::span<VirtualThread* const> ready) {
  const std::size_t nChosen = m_pPolicy->AtPoint(running, ready);
  if (!ready.empty() && m_firstCome.AtPoint(running, ready) != nChosen) {
    const VirtualThread& next = nChosen == GoOn ? running : *ready[nChosen];
    m_decisions.push_back({DecisionKind::Switch, running.dwId, running.nCalls, 0, next.dwId});
  }
  return nChosen;
}

std::size_t RecordingPolicy::AtWait(const VirtualThread& running, std::span<VirtualThread* const> ready) {
  const std::size_t nChosen = m_pPolicy->AtWait(running, ready);
  if (m_firstCome.AtWait(running, ready) != nChosen) {
    Decision decision = ReplayPolicy::KeyAtWait(running);
    decision.nChoice = ready[nChosen]->dwId;
    m_decisions.push_back(decision);
  }
  return nChosen;
}

std::size_t RecordingPolicy::ChooseWaiter(const VirtualThread& running, std::span<VirtualThread* const> waiters) {
  const std::size_t nChosen = m_pPolicy->ChooseWaiter(running, waiters);
  if (m_firstCome.ChooseWaiter(running, waiters) != nChosen) {
    m_decisions.push_back({DecisionKind::Waiter, running.dwId, running.nCalls, 0, waiters[nChosen]->dwId});
  }
  return nChosen;
}

std::uint64_t RecordingPolicy::LateBy(const VirtualThread& running) {
  const std::uint64_t nLate = m_pPolicy->LateBy(running);
  if (nLate != 0) {
    m_decisions.push_back({DecisionKind::Late, running.dwId, running.nCalls, 0, nLate});
  }
  return nLate;
}

std::uint64_t RecordingPolicy::HeldUpFor(const VirtualThread& running) {
  const std::uint64_t nHeldUp = m_pPolicy->HeldUpFor(running);
  if (nHeldUp != 0) {
    m_decisions.push_back({DecisionKind::HoldUp, running.dwId, running.nCalls, 0, nHeldUp});
  }
  return nHeldUp;
}

std::size_t RecordingPolicy::BlockBytes(DWORD dwPort, std::uint64_t nBlock) {
  const std::size_t nBytes = m_pPolicy->BlockBytes(dwPort, nBlock);
  if (nBytes != FifoBytes) {
    m_decisions.push_back({DecisionKind::Block, dwPort, nBlock, 0, nBytes});
  }
  return nBytes;
}

}  // namespace photometer::platform
