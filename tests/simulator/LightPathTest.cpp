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

TEST(LightPath, HasFiltersThatPassTheirRangeAndBlockOutsideIt) {
  using Wheel = std::tuple<bool, int, std::vector<double>, std::vector<double>>;
  const Wheel filters[] = {{true, 1, {340, 374}, {500}},  {true, 2, {375, 549}, {700}},
                           {true, 3, {550, 1000}, {400}}, {false, 1, {}, {500}},
                           {false, 2, {500}, {700}},      {false, 3, {450, 549, 670}, {700}},
                           {false, 4, {550}, {400}}};
  const auto absorbance = [](bool bUV, int iFilter, double wavelength) {
    Bench bench({.bUV = bUV, .noiseLevel = 0.0});
    bench.MoveTo(wavelength);
    bench.Set({"r1", "h1"});
    bench.now += 10'000'000;
    const Counts open = bench.Measure();
    bench.Set({"F" + std::to_string(iFilter)});
    const Counts filtered = bench.Measure();
    return -std::log10((filtered.sample / filtered.reference) / (open.sample / open.reference));
  };
  for (const auto& [bUV, iFilter, passes, blocks] : filters) {
    for (const double wavelength : passes) EXPECT_LT(absorbance(bUV, iFilter, wavelength), 0.15) << wavelength;
    for (const double wavelength : blocks) EXPECT_GT(absorbance(bUV, iFilter, wavelength), 2.0) << wavelength;
  }
}

}  // namespace
}  // namespace simulator
