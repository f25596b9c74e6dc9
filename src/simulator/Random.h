/// A small random number generator (xoshiro256**, seeded by splitmix64) with a normal distribution of its own, so that
/// a seed gives the same numbers in every build.
#pragma once

#include <array>
#include <cstdint>

namespace simulator {

class Random {
 public:
  explicit Random(std::uint64_t seed);

  std::uint64_t Next();
  /// A number from 0 to `bound` - 1; `bound` is at least 1.
  std::uint64_t Below(std::uint64_t bound) { return Next() % bound; }
  /// Above 0 and below 1.
  double Uniform();
  /// Mean 0, standard deviation 1. Each call uses one number of the generator.
  double Normal();

 private:
  std::array<std::uint64_t, 4> m_State;
};

/// One step of splitmix64: a well-mixed number from any number.
std::uint64_t Mix(std::uint64_t value);

}  // namespace simulator
