/// How many runs the searches of the tests make.
#pragma once

#include <cstdint>

namespace photometer::tests {

/// So many runs where a search usually makes `nUsual`, at least one: times the real number in the environment variable
/// PHOTOMETER_TEST_DENSITY, for a longer or a shorter search. Without it: 1, and a quarter in builds with a sanitizer,
/// where a run takes five to twenty times as long.
std::uint64_t RunCount(std::uint64_t nUsual);

}  // namespace photometer::tests
