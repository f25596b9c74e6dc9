#include "platform/virtual/SchedulingPolicy.h"

#include "platform/virtual/FirstComePolicy.h"
#include "platform/virtual/PriorityPolicy.h"

namespace photometer::platform {

namespace {

/// One deadline in so many is late, by up to this time: a few scheduler ticks of the board.
constexpr std::uint64_t LateOneIn = 8;
constexpr std::uint64_t MostLateMicroseconds = 3000;
/// Blocks of other hardware: single bytes, a FIFO's, an adapter's that collects for some milliseconds.
constexpr std::uint64_t SmallBlock = 16;
constexpr std::uint64_t LargeBlock = 200;

/// One call in so many, on the average, is held up, by up to this time: long enough for the rest of an answer to arrive
/// between any two calls of the thread that waits for it.
constexpr std::uint64_t HeldUpOneIn = 64;
constexpr std::uint64_t LongestHoldUpMicroseconds = 3000;

/// Each choice is uniform.
class RandomPolicy final : public SchedulingPolicy {
 public:
  explicit RandomPolicy(std::uint64_t seed) : m_stream(seed, RandomUse::Scheduling) {}

  std::size_t AtPoint(const VirtualThread& /*running*/, std::span<VirtualThread* const> ready) override {
    const std::uint64_t nDrawn = m_stream.Below(ready.size() + 1);
    return nDrawn == ready.size() ? GoOn : nDrawn;
  }

  std::size_t AtWait(const VirtualThread& /*running*/, std::span<VirtualThread* const> ready) override {
    return m_stream.Below(ready.size());
  }

  std::size_t ChooseWaiter(const VirtualThread& /*running*/, std::span<VirtualThread* const> waiters) override {
    return m_stream.Below(waiters.size());
  }

 private:
  RandomStream m_stream;
};

}  // namespace

std::uint64_t SchedulingPolicy::LateBy(const VirtualThread& /*running*/) {
  if (!m_draws.has_value() || m_draws->latency.Below(LateOneIn) != 0) {
    return 0;
  }
  return m_draws->latency.Below(MostLateMicroseconds);
}

std::uint64_t SchedulingPolicy::HeldUpFor(const VirtualThread& /*running*/) {
  if (!m_holdUps.has_value() || m_nCallsToHoldUp-- > 0) {
    return 0;
  }
  m_nCallsToHoldUp = m_holdUps->Below(2 * HeldUpOneIn);
  return m_holdUps->Below(LongestHoldUpMicroseconds);
}

std::size_t SchedulingPolicy::BlockBytes(DWORD /*dwPort*/, std::uint64_t /*nBlock*/) {
  if (!m_draws.has_value()) {
    return FifoBytes;
  }
  switch (m_draws->blocks.Below(4)) {
    case 0:
      return 1;
    case 1:
      return 1 + m_draws->blocks.Below(LargeBlock);
    default:
      return 1 + m_draws->blocks.Below(SmallBlock);
  }
}

void SchedulingPolicy::VaryTimes(std::uint64_t seed) {
  m_draws.emplace(Draws{{seed, RandomUse::Latency}, {seed, RandomUse::Blocks}});
}

void SchedulingPolicy::HoldUpThreads(std::uint64_t seed) {
  m_holdUps.emplace(seed, RandomUse::HoldUps);
  m_nCallsToHoldUp = m_holdUps->Below(2 * HeldUpOneIn);
}

std::unique_ptr<SchedulingPolicy> MakePolicy(Policy policy, std::uint64_t seed) {
  switch (policy) {
    case Policy::FirstCome:
      return std::make_unique<FirstComePolicy>();
    case Policy::Random:
      return std::make_unique<RandomPolicy>(seed);
    case Policy::Priority:
      return std::make_unique<PriorityPolicy>(seed);
  }
  return nullptr;
}

}  // namespace photometer::platform
