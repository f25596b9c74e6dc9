#include <array>
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

TEST(Random, IsNormal) {
  constexpr int Count = 400'000;
  Random random(7);
  double sum = 0.0;
  double squares = 0.0;
  std::array<int, 4> beyond = {};
  for (int i = 0; i < Count; ++i) {
    const double value = random.Normal();
    sum += value;
    squares += value * value;
    for (std::size_t k = 0; k < beyond.size(); ++k) {
      if (std::fabs(value) > static_cast<double>(k) + 1.0) ++beyond[k];
    }
  }
  EXPECT_NEAR(sum / Count, 0.0, 0.008);
  EXPECT_NEAR(squares / Count, 1.0, 0.01);
  const std::array<double, 4> expected = {0.317311, 0.0455003, 0.0026998, 0.0000633};
  for (std::size_t k = 0; k < beyond.size(); ++k) {
    const double mean = expected[k] * Count;
    EXPECT_NEAR(beyond[k], mean, 5.0 * std::sqrt(mean)) << "beyond sigma " << k + 1;
  }
}

TEST(Detector, HasTheVarianceThatItStates) {
  for (const bool bHighGain : {false, true}) {
    for (const double light : {0.0, 3000.0, 900'000.0}) {
      constexpr int Count = 20'000;
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
}

TEST(Detector, SaturatesAndKnowsNoNoise) {
  Detector detector(1, 1200.0);
  EXPECT_EQ(detector.Read(2e6, true, 1.0), Detector::FullScale);
  EXPECT_EQ(detector.Read(1000.4, false, 0.0), 2200u);
  EXPECT_TRUE(std::isinf(AbsorbanceStandardDeviation(0.0, 1.0, 1.0, 1.0)));
}

}  // namespace
}  // namespace simulator
