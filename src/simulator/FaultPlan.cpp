#include "simulator/FaultPlan.h"

#include <utility>

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

}  // namespace simulator
