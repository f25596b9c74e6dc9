/// Who runs next. A policy sees the threads by number and order of arrival, never by address, and keeps whatever state
/// it needs: priorities by thread number, change points by count of calls, a list of decisions to replay.
#pragma once

#include <cstdint>
#include <memory>
#include <span>

#include "platform/virtual/VirtualBoard.h"

namespace photometer::platform {

struct VirtualThread;

class SchedulingPolicy {
 public:
  /// Answer of `AtPoint`: the running thread goes on.
  static constexpr std::size_t GoOn = SIZE_MAX;

  virtual ~SchedulingPolicy() = default;

  /// A thread has been made; "main" is the first.
  virtual void Started(const VirtualThread& /*thread*/) {}
  /// The running thread calls the layer, and others are ready: the index of the one that runs in its place, or `GoOn`.
  /// A thread that is replaced becomes the last of the ready ones.
  virtual std::size_t AtPoint(const VirtualThread& running, std::span<VirtualThread* const> ready) = 0;
  /// The running thread cannot go on: the index of the one that runs next.
  virtual std::size_t AtWait(std::span<VirtualThread* const> ready) = 0;
  /// Which of `nCount` threads that wait for the same lock or auto-reset event gets it, in order of arrival.
  virtual std::size_t ChooseWaiter(std::size_t nCount) = 0;
};

std::unique_ptr<SchedulingPolicy> MakePolicy(Policy policy, std::uint64_t seed);

}  // namespace photometer::platform
