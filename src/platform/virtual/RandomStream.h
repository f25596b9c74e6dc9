/// Independent streams of random numbers from one seed: a draw more from one does not disturb the others.
///
/// SplitMix64, so that every build and machine draws the same numbers.
#pragma once

#include <cstdint>

namespace photometer::platform {

/// What a stream's numbers decide.
enum class RandomUse : std::uint64_t { Scheduling = 1, Blocks = 2, Latency = 3, HoldUps = 4 };

class RandomStream {
 public:
  RandomStream(std::uint64_t seed, RandomUse use);

  std::uint64_t Next();
  /// 0 to `nCount` - 1; `nCount` is at least 1.
  std::uint64_t Below(std::uint64_t nCount);

 private:
  std::uint64_t m_nState;
};

}  // namespace photometer::platform
