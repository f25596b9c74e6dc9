/// Probabilistic concurrency testing: finds each fault of depth d with a probability that can be computed.
///
/// Every thread gets a random priority, and the ready thread with the highest one runs. At d - 1 steps, drawn from the
/// seed over the expected length of the run, the running thread falls below all that have not fallen. A fault has depth
/// d when it shows whenever d given steps come in a certain order; a lost wake-up, for one, mostly has depth 2. With n
/// threads and k steps (calls of the layer, of all threads together) one run finds it with a probability of at least
///
///     1 / (n * k^(d - 1))
///
/// so that about 7 n k^(d - 1) seeds find it with 99.9 %. The bound holds while the run has no more than k steps and n
/// threads; a too large k costs probability in proportion, a too small one leaves what comes later without change
/// points. Under uniform choices the probability can be as low as one in the number of all schedules.
///
/// Burckhardt, Kothari, Musuvathi, Nagarakatte: A Randomized Scheduler with Probabilistic Guarantees of Finding Bugs.
/// ASPLOS 2010.
///
/// Beyond that paper a thread that gives way (`Sleep(0)`), or polls for a thousand calls without a wait, falls below
/// all others, or nobody else would ever run. Steps at which a thread polls count like all others.
#pragma once

#include <vector>

#include "platform/virtual/SchedulingPolicy.h"

namespace photometer::platform {

struct PriorityOptions {
  /// d: from 1 (random priorities alone).
  unsigned nDepth = 3;
  /// k: the expected number of steps; `VirtualBoard::Points` of an earlier run tells it.
  std::uint64_t nSteps = 10'000;
  /// Steps count inside the marked window only (see `VirtualBoard::BeginWindow`): k is then the window's length.
  bool bWindowOnly = false;
};

class PriorityPolicy final : public SchedulingPolicy {
 public:
  explicit PriorityPolicy(std::uint64_t seed, const PriorityOptions& options = {});

  void Started(const VirtualThread& thread) override;
  [[nodiscard]] bool SeesEveryPoint() const override { return true; }
  std::size_t AtPoint(const VirtualThread& running, std::span<VirtualThread* const> ready) override;
  void Yields(const VirtualThread& thread) override;
  std::size_t AtWait(const VirtualThread& running, std::span<VirtualThread* const> ready) override;
  std::size_t ChooseWaiter(const VirtualThread& running, std::span<VirtualThread* const> waiters) override;
  void BeginWindow() override { m_bInWindow = true; }
  void EndWindow() override { m_bInWindow = false; }

  /// The smallest probability with which one run finds a fault of that depth, with so many threads.
  static double LeastProbability(const PriorityOptions& options, unsigned nThreads);
  /// How many seeds find such a fault with at least this probability (below 1).
  static std::uint64_t SeedsFor(double dProbability, const PriorityOptions& options, unsigned nThreads);

 private:
  /// At a step the running thread's priority changes to that level, below all that threads begin with.
  struct ChangePoint {
    std::uint64_t nStep;
    std::int64_t iLevel;
  };

  void CountStep(const VirtualThread& running);
  [[nodiscard]] std::int64_t& PriorityOf(const VirtualThread& thread);
  [[nodiscard]] std::size_t Highest(std::span<VirtualThread* const> threads);

  PriorityOptions m_options;
  RandomStream m_stream;
  /// The next one last.
  std::vector<ChangePoint> m_changePoints;
  /// By thread number.
  std::vector<std::int64_t> m_priorities;
  std::int64_t m_iLowest = 0;
  std::uint64_t m_nSteps = 0;
  unsigned m_nCallsInARow = 0;
  bool m_bInWindow = false;
};

}  // namespace photometer::platform
