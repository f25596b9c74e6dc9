#include "platform/virtual/SchedulingPolicy.h"

#include "platform/virtual/RandomStream.h"

namespace photometer::platform {

namespace {

/// A thread runs until it waits, or has made so many calls that one who polls would keep the others from running.
class FirstComePolicy final : public SchedulingPolicy {
 public:
  std::size_t AtPoint(const VirtualThread& /*running*/, std::span<VirtualThread* const> /*ready*/) override {
    if (++m_nCalls < CallsInARow) {
      return GoOn;
    }
    m_nCalls = 0;
    return 0;
  }

  std::size_t AtWait(std::span<VirtualThread* const> /*ready*/) override {
    m_nCalls = 0;
    return 0;
  }

  std::size_t ChooseWaiter(std::size_t /*nCount*/) override { return 0; }

 private:
  static constexpr unsigned CallsInARow = 1000;
  unsigned m_nCalls = 0;
};

/// Each choice is uniform.
class RandomPolicy final : public SchedulingPolicy {
 public:
  explicit RandomPolicy(std::uint64_t seed) : m_stream(seed, RandomUse::Scheduling) {}

  std::size_t AtPoint(const VirtualThread& /*running*/, std::span<VirtualThread* const> ready) override {
    const std::uint64_t nDrawn = m_stream.Below(ready.size() + 1);
    return nDrawn == ready.size() ? GoOn : nDrawn;
  }

  std::size_t AtWait(std::span<VirtualThread* const> ready) override { return ChooseWaiter(ready.size()); }

  std::size_t ChooseWaiter(std::size_t nCount) override { return nCount == 1 ? 0 : m_stream.Below(nCount); }

 private:
  RandomStream m_stream;
};

}  // namespace

std::unique_ptr<SchedulingPolicy> MakePolicy(Policy policy, std::uint64_t seed) {
  switch (policy) {
    case Policy::FirstCome:
      return std::make_unique<FirstComePolicy>();
    case Policy::Random:
      return std::make_unique<RandomPolicy>(seed);
  }
  return nullptr;
}

}  // namespace photometer::platform
