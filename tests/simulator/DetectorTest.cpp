#include <cmath>

#include <gtest/gtest.h>

#include "simulator/Detector.h"

namespace simulator {
namespace {

TEST(Random, GivesTheSameNumbersInEveryBuild) {
  Random random(42);
  EXPECT_EQ(random.Next(), 1546998764402558742u);
  EXPECT_EQ(random.Next(), 6990951692964543102u);
  EXPECT_NEAR(random.Normal(), 0.46782019, 1e-8);
  EXPECT_NEAR(random.Normal(), 1.43736565, 1e-8);
}

TEST(Detector, HasTheVarianceThatItStates) {
  constexpr int Count = 20'000;
  for (const auto& [bHighGain, light] :
       {std::pair(false, 0.0), {false, 3000.0}, {false, 900'000.0}, {true, 0.0}, {true, 3000.0}, {true, 900'000.0}}) {
    Detector detector(11, 1200.0);
    double sum = 0.0;
    double squares = 0.0;
    const double expected = light * Detector::GainFactor(bHighGain) + detector.Dark(bHighGain);
    for (int i = 0; i < Count; ++i) {
      const double off = detector.Read(light, bHighGain, 1.0) - expected;
      sum += off;
      squares += off * off;
    }
    const double variance = Detector::ReadingVariance(expected, bHighGain, 1.0);
    EXPECT_NEAR(sum / Count, 0.0, 4.0 * std::sqrt(variance / Count)) << light;
    EXPECT_NEAR(squares / Count, variance, 0.05 * variance) << light;
  }
}

TEST(Detector, SaturatesAndKnowsNoNoise) {
  Detector detector(1, 1200.0);
  EXPECT_EQ(detector.Read(2e6, true, 1.0), Detector::FullScale);
  EXPECT_EQ(detector.Read(1000.4, false, 0.0), 2200u);
  EXPECT_TRUE(std::isinf(AbsorbanceStandardDeviation(0.0, 1.0, 1.0, 1.0)));
}

}  // namespace
}  // namespace simulator
