#include "simulator/FaultPlan.h"

#include <utility>

#include "simulator/Random.h"

namespace simulator {

void FaultPlan::Add(Fault fault) {
  m_Faults.push_back(std::move(fault));
  m_Counts.push_back(0);
}

void FaultPlan::Clear() {
  m_Faults.clear();
  m_Counts.clear();
}

std::vector<Fault> FaultPlan::Take(char letter) {
  std::vector<Fault> befalling;
  for (std::size_t i = 0; i < m_Faults.size(); ++i) {
    const Fault& fault = m_Faults[i];
    if (fault.letter != 0 && fault.letter != letter) continue;
    ++m_Counts[i];
    if (fault.nth == 0 || fault.nth == m_Counts[i]) befalling.push_back(fault);
  }
  return befalling;
}

FaultPlan FaultPlan::FromSeed(std::uint64_t seed, std::size_t nFaults, std::uint32_t dwCommands) {
  constexpr std::uint64_t Kinds = static_cast<std::uint64_t>(FaultKind::StopAfter) + 1;
  constexpr Time LongestDelay = 90'000'000;  // longer than the silence that a host accepts
  Random random(seed);
  FaultPlan plan;
  for (std::size_t i = 0; i < nFaults; ++i) {
    Fault fault;
    fault.kind = static_cast<FaultKind>(random.Below(Kinds));
    fault.nth = 1 + static_cast<std::uint32_t>(random.Below(dwCommands));
    fault.delay = random.Below(2) == 0 ? random.Below(50'000) : random.Below(LongestDelay);
    fault.count = static_cast<std::size_t>(random.Below(20));
    fault.first = static_cast<std::size_t>(random.Below(40));
    for (std::uint64_t n = 1 + random.Below(40); n > 0; --n) fault.bytes += static_cast<char>(random.Below(256));
    plan.Add(std::move(fault));
  }
  return plan;
}

}  // namespace simulator
