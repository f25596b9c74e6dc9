// What is light enough and what is dark. That the values are right and the faults show is seen in whole measurements.
#include <algorithm>
#include <cmath>
#include <tuple>

#include <gtest/gtest.h>

#include "Bench.h"
#include "simulator/LightPath.h"

namespace simulator {
namespace {

TEST(LightPath, GivesPlausibleCountsInAllRanges) {
  using Range = std::tuple<std::vector<std::string>, std::vector<double>>;
  const Range ranges[] = {{{"r1", "F1", "g1", "h2"}, {330, 345, 365, 374.9}},
                          {{"r1", "F2", "g0", "h1"}, {375, 412, 450, 549.9}},
                          {{"r1", "F3", "g0", "h1"}, {550, 620, 690, 820, 885, 1000, 1100}},
                          {{"r2", "F0", "g1", "d1"}, {195, 220, 240, 280, 340, 350}}};
  for (const auto& [optics, wavelengths] : ranges) {
    for (const double wavelength : wavelengths) {
      Bench bench;
      bench.MoveTo(wavelength);
      EXPECT_LT(std::fabs(bench.Measure().reference), 500.0) << "dark before a lamp burns";
      bench.Set(optics);
      bench.now += 200'000;
      const Counts counts = bench.Measure();
      EXPECT_GT(std::min(counts.sample, counts.reference), 100'000.0) << wavelength;
      EXPECT_LT(std::max(counts.sample, counts.reference), 15e6) << wavelength;
      bench.unit.SetFaults({.halogenLevel = 0.0, .bDeuteriumLights = false});
      EXPECT_LT(std::fabs(bench.Measure().reference), 500.0) << "dark when no lamp lights";
      bench.Set({"o0"});
      EXPECT_EQ(bench.Ask("$a3\r").strBytes, std::string(18, '\0')) << "nothing without power";
    }
  }
}

}  // namespace
}  // namespace simulator
