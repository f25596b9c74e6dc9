/// First come, first served: a thread runs until it waits, or has made so many calls in a row that one who polls would
/// keep the others from running.
#pragma once

#include "platform/virtual/SchedulingPolicy.h"

namespace photometer::platform {

class FirstComePolicy final : public SchedulingPolicy {
 public:
  std::size_t AtPoint(const VirtualThread& running, std::span<VirtualThread* const> ready) override;
  std::size_t AtWait(const VirtualThread& running, std::span<VirtualThread* const> ready) override;
  std::size_t ChooseWaiter(const VirtualThread& running, std::span<VirtualThread* const> waiters) override;

 private:
  unsigned m_nCalls = 0;
};

}  // namespace photometer::platform
