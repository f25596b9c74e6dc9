#include "platform/virtual/ReplayPolicy.h"

#include <algorithm>

#include "platform/virtual/VirtualThread.h"

namespace photometer::platform {

ReplayPolicy::ReplayPolicy(const DecisionList& decisions) {
  for (const Decision& decision : decisions) {
    Decision key = decision;
    key.nChoice = 0;
    m_choices.emplace(key, decision.nChoice);
  }
}

std::optional<std::uint64_t> ReplayPolicy::Find(const Decision& key) const {
  const auto found = m_choices.find(key);
  return found == m_choices.end() ? std::nullopt : std::optional(found->second);
}

std::size_t ReplayPolicy::IndexOf(const Decision& key, std::span<VirtualThread* const> threads,
                                  std::size_t nOtherwise) const {
  const std::optional<std::uint64_t> choice = Find(key);
  if (!choice.has_value()) {
    return nOtherwise;
  }
  const auto found = std::ranges::find_if(threads, [&choice](const auto* pThread) { return pThread->dwId == *choice; });
  return found == threads.end() ? nOtherwise : static_cast<std::size_t>(found - threads.begin());
}

std::size_t ReplayPolicy::AtPoint(const VirtualThread& running, std::span<VirtualThread* const> ready) {
  const std::size_t nFirst = m_firstCome.AtPoint(running, ready);
  const Decision key{DecisionKind::Switch, running.dwId, running.nCalls, 0, 0};
  return Find(key) == running.dwId ? GoOn : IndexOf(key, ready, nFirst);
}

std::size_t ReplayPolicy::AtWait(const VirtualThread& running, std::span<VirtualThread* const> ready) {
  const std::size_t nFirst = m_firstCome.AtWait(running, ready);
  return IndexOf(KeyAtWait(running), ready, nFirst);
}

Decision ReplayPolicy::KeyAtWait(const VirtualThread& running) {
  const DecisionKind kind = running.bHeldUp ? DecisionKind::Meanwhile : DecisionKind::Next;
  return {kind, running.dwId, running.nCalls, running.bHeldUp ? 0 : running.nWaitsInCall, 0};
}

std::size_t ReplayPolicy::ChooseWaiter(const VirtualThread& running, std::span<VirtualThread* const> waiters) {
  const std::size_t nFirst = m_firstCome.ChooseWaiter(running, waiters);
  return IndexOf({DecisionKind::Waiter, running.dwId, running.nCalls, 0, 0}, waiters, nFirst);
}

std::uint64_t ReplayPolicy::LateBy(const VirtualThread& running) {
  return Find({DecisionKind::Late, running.dwId, running.nCalls, 0, 0}).value_or(0);
}

std::uint64_t ReplayPolicy::HeldUpFor(const VirtualThread& running) {
  return Find({DecisionKind::HoldUp, running.dwId, running.nCalls, 0, 0}).value_or(0);
}

std::size_t ReplayPolicy::BlockBytes(DWORD dwPort, std::uint64_t nBlock) {
  return Find({DecisionKind::Block, dwPort, nBlock, 0, 0}).value_or(FifoBytes);
}

}  // namespace photometer::platform
