#include <tuple>

#include <gtest/gtest.h>

#include "Bench.h"
#include "simulator/TurbidityChannel.h"
#include "simulator/WireNumber.h"

namespace simulator {
namespace {

double Turbidity(Bench& bench) {
  const std::string bytes = bench.Ask("$t\r").strBytes;
  double sum = 0.0;
  for (std::size_t i = 0; i < 96; i += 12) {
    sum += static_cast<double>(Read24Bits(bytes, i + 6)) - static_cast<double>(Read24Bits(bytes, i));
  }
  return sum / 8.0;
}

TEST(TurbidityChannel, RisesWithTheSampleInBothRanges) {
  // Power 1 with low gain, power 3 with high gain.
  const double full = 0xFFFFFF - 2000.0;
  for (const auto& [ntu, high, low] :
       {std::tuple(0.0, 200.0, 14'400.0), {1, 600, 43'200}, {40, 16'200, 1'166'400}, {1000, 400'200, full}}) {
    Bench bench;
    bench.unit.SetSample(Sample::Blank().WithTurbidity(ntu));
    bench.Set({"T1", "G0"});
    EXPECT_NEAR(Turbidity(bench), high, 40 + 0.001 * high) << ntu;
    bench.Set({"T3", "G1"});
    EXPECT_NEAR(Turbidity(bench), low, 40 + 0.001 * low) << ntu;
  }
}

}  // namespace
}  // namespace simulator
