/// Who runs next, and whatever else about a run is a matter of choice. A policy sees the threads by number and order of
/// arrival, never by address, and keeps whatever state it needs: priorities by thread number, change points by count of
/// calls, a list of decisions to replay.
///
/// `VirtualBoardOptions::policy` names the ordinary ones; others are made by their own types and given to the board as
/// `pPolicy`. A policy serves one board at a time.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <span>

#include "platform/virtual/RandomStream.h"
#include "platform/virtual/VirtualBoard.h"

namespace photometer::platform {

struct VirtualThread;

class SchedulingPolicy {
 public:
  /// Answer of `AtPoint`: the running thread goes on.
  static constexpr std::size_t GoOn = SIZE_MAX;
  /// Trigger level of the usual 16-byte FIFO.
  static constexpr std::size_t FifoBytes = 14;

  virtual ~SchedulingPolicy() = default;

  /// A thread has been made; "main" is the first, and the sign that a run begins.
  virtual void Started(const VirtualThread& /*thread*/) {}
  /// Whether `AtPoint` is also asked when no other thread is ready; the answer must then be `GoOn`.
  [[nodiscard]] virtual bool SeesEveryPoint() const { return false; }
  /// The running thread calls the layer, and others are ready: the index of the one that runs in its place, or `GoOn`.
  /// A thread that is replaced becomes the last of the ready ones.
  virtual std::size_t AtPoint(const VirtualThread& running, std::span<VirtualThread* const> ready) = 0;
  /// The thread gives way; it is the last of the ready ones already, and `AtWait` follows.
  virtual void Yields(const VirtualThread& /*thread*/) {}
  /// The running thread cannot go on: the index of the one that runs next. Not asked when there is only one.
  virtual std::size_t AtWait(const VirtualThread& running, std::span<VirtualThread* const> ready) = 0;
  /// Which of the threads that wait for the same lock or auto-reset event, in order of arrival, gets it from the
  /// running one. Not asked when there is only one.
  virtual std::size_t ChooseWaiter(const VirtualThread& running, std::span<VirtualThread* const> waiters) = 0;

  /// By how many microseconds the timed wait that the running thread begins ends late.
  virtual std::uint64_t LateBy(const VirtualThread& running);
  /// The running thread begins a call: for how many microseconds other work of the processor holds it up before.
  virtual std::uint64_t HeldUpFor(const VirtualThread& running);
  /// How many bytes a port's FIFO collects: of the port of that number, for its `nBlock`-th block.
  virtual std::size_t BlockBytes(DWORD dwPort, std::uint64_t nBlock);

  /// The part of the run to look at more closely begins or ends.
  virtual void BeginWindow() {}
  virtual void EndWindow() {}

  /// From now on deadlines and blocks are drawn from the random seed, each from a stream of its own.
  void VaryTimes(std::uint64_t seed);
  /// From now on threads are held up now and then, drawn from the random seed.
  void HoldUpThreads(std::uint64_t seed);

 private:
  struct Draws {
    RandomStream latency;
    RandomStream blocks;
  };
  std::optional<Draws> m_draws;
  std::optional<RandomStream> m_holdUps;
  /// Calls until the next hold-up.
  std::uint64_t m_nCallsToHoldUp = 0;
};

/// One of the ordinary policies.
std::unique_ptr<SchedulingPolicy> MakePolicy(Policy policy, std::uint64_t seed);

}  // namespace photometer::platform
