#include <algorithm>
#include <cmath>
#include <iterator>

#include <gtest/gtest.h>

#include "Bench.h"
#include "simulator/HolmiumFilter.h"

namespace simulator {
namespace {

/// The spectrum of the holmium filter around a peak, as a host's wavelength test takes it; the offset found.
int FindOffset(Bench& bench, double peak) {
  const int iFirst = TablePosition(peak - 2.0);
  const int iLast = TablePosition(peak + 2.0);
  const std::string strFilter = bench.unit.Settings().bUV ? "F6" : "F5";
  std::vector<Counts> darks;
  std::vector<std::vector<Counts>> passes;
  for (const std::string& filter : {std::string("F0"), strFilter}) {
    bench.Set({"o1", "i1", filter, "g0", "r1", "S50", "M" + std::to_string(iFirst), "S38400", "A9", "H1"});
    darks.push_back(bench.Read());
    bench.Set({"H0", "h2"});
    bench.now += 200'000;
    passes.push_back(bench.Scan(iLast));
    bench.Set({"h0"});
  }
  std::vector<double> absorbances;
  for (std::size_t i = 0; i < passes[0].size(); ++i) {
    const Counts open = {passes[0][i].sample - darks[0].sample, passes[0][i].reference - darks[0].reference};
    const Counts filter = {passes[1][i].sample - darks[1].sample, passes[1][i].reference - darks[1].reference};
    absorbances.push_back(Absorbance(filter, open));
  }
  const auto maximum = std::max_element(absorbances.begin(), absorbances.end());
  return iFirst + static_cast<int>(std::distance(absorbances.begin(), maximum)) - TablePosition(peak);
}

TEST(HolmiumFilter, LetsAWavelengthTestFindEachOffset) {
  for (int iOffset = -20; iOffset <= 20; ++iOffset) {
    for (const bool bUV : {true, false}) {
      const auto seed = static_cast<std::uint64_t>(1000 + iOffset);
      Bench bench({.seed = seed, .bUV = bUV, .positionOffset = iOffset});
      EXPECT_EQ(FindOffset(bench, 360.7), iOffset) << (bUV ? "with" : "without") << " UV path";
    }
  }
}

TEST(HolmiumFilter, HasItsPeaksWhereTheReferencesAre) {
  for (const double peak : {360.7, 453.8, 537.0}) {
    Bench bench;
    EXPECT_LE(std::abs(FindOffset(bench, peak)), 1) << peak;
  }
  for (const double peak : {418.4, 445.0, 460.0, 484.0}) {
    EXPECT_GT(HolmiumFilter::Absorbance(peak), HolmiumFilter::Absorbance(peak - 4)) << peak;
    EXPECT_GT(HolmiumFilter::Absorbance(peak), HolmiumFilter::Absorbance(peak + 3)) << peak;
  }
}

}  // namespace
}  // namespace simulator
