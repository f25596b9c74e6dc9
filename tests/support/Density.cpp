#include "support/Density.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <stdexcept>
#include <string_view>

#include "platform/Sanitizers.h"

namespace photometer::tests {

namespace {

#if defined(PHOTOMETER_THREAD_SANITIZER) || defined(PHOTOMETER_ADDRESS_SANITIZER)
constexpr double USUAL_DENSITY = 0.25;
#else
constexpr double USUAL_DENSITY = 1.0;
#endif

double Density() {
  const char* const pText = std::getenv("PHOTOMETER_TEST_DENSITY");
  if (pText == nullptr) {
    return USUAL_DENSITY;
  }
  const std::string_view text = pText;
  double dDensity = 0.0;
  const auto [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), dDensity);
  if (error != std::errc() || pEnd != text.data() + text.size() || !(dDensity > 0.0 && dDensity <= 1e6)) {
    throw std::invalid_argument("PHOTOMETER_TEST_DENSITY must be a number above 0, at most 1e6");
  }
  return dDensity;
}

}  // namespace

std::uint64_t RunCount(std::uint64_t nUsual) {
  return std::max<std::uint64_t>(1, static_cast<std::uint64_t>(static_cast<double>(nUsual) * Density()));
}

}  // namespace photometer::tests
