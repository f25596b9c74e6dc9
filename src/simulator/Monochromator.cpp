#include "simulator/Monochromator.h"

#include <algorithm>
#include <cstdlib>

namespace simulator {

namespace {

constexpr Time FastestStep = 150;       // µs, limit of the mechanics
constexpr Time RampTime = 20'000;       // µs, to speed up and slow down
constexpr Time HomeSearch = 1'000'000;  // µs, slow search around the switch
constexpr Time LongestHome = 3'000'000;

}  // namespace

double WavelengthPolynomial::At(double position) const {
  return (((cubic * position + quadratic) * position + linear) * position + constant) / 1e6;
}

Time Monochromator::StepTime() const { return std::max(FastestStep, static_cast<Time>(m_iSpeed) / 4); }

Time Monochromator::MoveTime(int iPosition) const {
  const auto nSteps = static_cast<Time>(std::abs(iPosition - m_iPosition));
  return nSteps == 0 ? 0 : RampTime + nSteps * StepTime();
}

Time Monochromator::HomeTime() const {
  const auto nSteps = static_cast<Time>(std::abs(m_iPosition));
  return std::min(LongestHome, HomeSearch + nSteps * FastestStep);
}

}  // namespace simulator
