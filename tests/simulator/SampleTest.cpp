#include <cmath>

#include <gtest/gtest.h>

#include "simulator/Sample.h"

namespace simulator {
namespace {

TEST(Sample, AbsorbsAsItsNameSays) {
  EXPECT_EQ(Sample::Blank().TrueAbsorbance(500, 0), 0.0);
  EXPECT_EQ(Sample::NeutralGlass(0.7).TrueAbsorbance(900, 0), 0.7);
  EXPECT_EQ(Sample::Dye("nothing", 1.0).TrueAbsorbance(500, 0), 0.0);
  for (const auto& [name, peak] : {std::pair("yellow", 430), {"red", 525}, {"blue", 620}}) {
    const Sample dye = Sample::Dye(name, 1.5);
    EXPECT_DOUBLE_EQ(dye.TrueAbsorbance(peak, 0), 1.5) << name;
    EXPECT_LT(dye.TrueAbsorbance(peak + 60, 0), 0.4) << name;
    EXPECT_LT(dye.TrueAbsorbance(peak - 60, 0), 0.4) << name;
  }
}

TEST(Sample, ReactsByTheFirstOrder) {
  const Sample sample = Sample::Kinetics({.centre = 405, .absorbance = 2.0, .deviation = 20}, 0.1, 5'000'000);
  EXPECT_EQ(sample.TrueAbsorbance(405, 4'999'999), 0.0);
  EXPECT_NEAR(sample.TrueAbsorbance(405, 15'000'000), 2.0 * (1.0 - std::exp(-1.0)), 1e-12);
  EXPECT_NEAR(sample.TrueAbsorbance(405, 500'000'000), 2.0, 1e-12);
}

TEST(Sample, LooksThinnerInStrayLight) {
  const Sample sample = Sample::NeutralGlass(2.0);
  EXPECT_DOUBLE_EQ(sample.ApparentAbsorbance(500, 0, 0.0), 2.0);
  EXPECT_NEAR(sample.ApparentAbsorbance(500, 0, 0.01), -std::log10(0.02 / 1.01), 1e-12);
}

}  // namespace
}  // namespace simulator
