/// Random draws for one subject of a plan. Each subject has a stream of its own, so that one more draw in one place
/// does not change what the others draw.
#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace explorer {

enum class Subject : std::uint64_t {
  Board = 101,
  Instrument = 102,
  Programme = 103,
  Requests = 104,
  Faults = 105,
  Sequels = 106
};

/// SplitMix64: every build and machine draws the same numbers.
class Draw {
 public:
  Draw(std::uint64_t seed, Subject subject);

  std::uint64_t Next();
  /// 0 to `nCount` - 1; `nCount` is at least 1.
  std::uint64_t Below(std::uint64_t nCount) { return Next() % nCount; }
  /// Both limits included.
  std::int64_t Between(std::int64_t iFirst, std::int64_t iLast);
  /// True in one of `nCount` draws.
  bool OneIn(std::uint64_t nCount) { return Below(nCount) == 0; }
  /// Many short ones, few long ones: 0 to `nLongest`, evenly over the magnitudes.
  std::uint64_t Length(std::uint64_t nLongest);
  double Pick(std::span<const double> values) { return values[Below(values.size())]; }
  /// Any bytes, but none that begins a command of the optical unit.
  std::string Bytes(std::uint64_t nLongest);

 private:
  std::uint64_t m_nState;
};

}  // namespace explorer
