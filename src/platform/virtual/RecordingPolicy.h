/// Passes every question on to another policy, and notes the answers that are not first come's.
#pragma once

#include <memory>
#include <utility>

#include "platform/virtual/Decision.h"
#include "platform/virtual/FirstComePolicy.h"

namespace photometer::platform {

class RecordingPolicy final : public SchedulingPolicy {
 public:
  explicit RecordingPolicy(std::shared_ptr<SchedulingPolicy> pPolicy) : m_pPolicy(std::move(pPolicy)) {}

  [[nodiscard]] const DecisionList& Decisions() const { return m_decisions; }

  void Started(const VirtualThread& thread) override { m_pPolicy->Started(thread); }
  [[nodiscard]] bool SeesEveryPoint() const override { return m_pPolicy->SeesEveryPoint(); }
  std::size_t AtPoint(const VirtualThread& running, std::span<VirtualThread* const> ready) override;
  void Yields(const VirtualThread& thread) override { m_pPolicy->Yields(thread); }
  std::size_t AtWait(const VirtualThread& running, std::span<VirtualThread* const> ready) override;
  std::size_t ChooseWaiter(const VirtualThread& running, std::span<VirtualThread* const> waiters) override;
  std::uint64_t LateBy(const VirtualThread& running) override;
  std::uint64_t HeldUpFor(const VirtualThread& running) override;
  std::size_t BlockBytes(DWORD dwPort, std::uint64_t nBlock) override;
  void BeginWindow() override { m_pPolicy->BeginWindow(); }
  void EndWindow() override { m_pPolicy->EndWindow(); }

 private:
  std::shared_ptr<SchedulingPolicy> m_pPolicy;
  FirstComePolicy m_firstCome;
  DecisionList m_decisions;
};

}  // namespace photometer::platform
