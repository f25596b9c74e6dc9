#include "platform/virtual/PriorityPolicy.h"

#include <algorithm>
#include <cmath>

#include "platform/virtual/VirtualThread.h"

namespace photometer::platform {

namespace {

constexpr unsigned MostCallsInARow = 1000;

}  // namespace

// Which level a change point leads to does not follow from when it comes: the order of those that have fallen is random
// too, and the bound rests on that.
PriorityPolicy::PriorityPolicy(std::uint64_t seed, const PriorityOptions& options)
    : m_options(options), m_stream(seed, RandomUse::Scheduling) {
  for (unsigned i = 1; i < m_options.nDepth; ++i) {
    m_changePoints.push_back({1 + m_stream.Below(std::max<std::uint64_t>(m_options.nSteps, 1)), i});
  }
  std::ranges::sort(m_changePoints, std::greater<>(), &ChangePoint::nStep);
}

std::int64_t& PriorityPolicy::PriorityOf(const VirtualThread& thread) {
  if (m_priorities.size() <= thread.dwId) {
    m_priorities.resize(thread.dwId + 1);
  }
  return m_priorities[thread.dwId];
}

void PriorityPolicy::Started(const VirtualThread& thread) {
  PriorityOf(thread) = m_options.nDepth + static_cast<std::int64_t>(m_stream.Next() >> 2U);
}

void PriorityPolicy::CountStep(const VirtualThread& running) {
  if (++m_nCallsInARow >= MostCallsInARow) {
    m_nCallsInARow = 0;
    Yields(running);
  }
  if (m_options.bWindowOnly && !m_bInWindow) {
    return;
  }
  ++m_nSteps;
  while (!m_changePoints.empty() && m_changePoints.back().nStep == m_nSteps) {
    PriorityOf(running) = m_changePoints.back().iLevel;
    m_changePoints.pop_back();
  }
}

std::size_t PriorityPolicy::AtPoint(const VirtualThread& running, std::span<VirtualThread* const> ready) {
  CountStep(running);
  if (ready.empty()) {
    return GoOn;
  }
  const std::size_t nHighest = Highest(ready);
  if (PriorityOf(*ready[nHighest]) <= PriorityOf(running)) {
    return GoOn;
  }
  m_nCallsInARow = 0;
  return nHighest;
}

void PriorityPolicy::Yields(const VirtualThread& thread) { PriorityOf(thread) = --m_iLowest; }

std::size_t PriorityPolicy::AtWait(const VirtualThread& /*running*/, std::span<VirtualThread* const> ready) {
  m_nCallsInARow = 0;
  return Highest(ready);
}

std::size_t PriorityPolicy::ChooseWaiter(const VirtualThread& /*running*/, std::span<VirtualThread* const> waiters) {
  return Highest(waiters);
}

std::size_t PriorityPolicy::Highest(std::span<VirtualThread* const> threads) {
  std::size_t nHighest = 0;
  for (std::size_t i = 1; i < threads.size(); ++i) {
    if (PriorityOf(*threads[i]) > PriorityOf(*threads[nHighest])) {
      nHighest = i;
    }
  }
  return nHighest;
}

double PriorityPolicy::LeastProbability(const PriorityOptions& options, unsigned nThreads) {
  const double dSteps = static_cast<double>(std::max<std::uint64_t>(options.nSteps, 1));
  const double dChangePoints = options.nDepth > 0 ? options.nDepth - 1.0 : 0.0;
  return 1.0 / (std::max(nThreads, 1U) * std::pow(dSteps, dChangePoints));
}

std::uint64_t PriorityPolicy::SeedsFor(double dProbability, const PriorityOptions& options, unsigned nThreads) {
  const double dMissed = 1.0 - LeastProbability(options, nThreads);
  if (dMissed <= 0.0) {
    return 1;
  }
  return static_cast<std::uint64_t>(std::ceil(std::log1p(-dProbability) / std::log(dMissed)));
}

}  // namespace photometer::platform
