#include <algorithm>
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
  // Transmission of the open wheel, then of the filter, point by point.
  std::vector<std::vector<double>> ratios;
  for (const std::string& filter : {std::string("F0"), strFilter}) {
    bench.Set({"o1", "i1", filter, "g0", "r1", "S50", "M" + std::to_string(iFirst), "S38400", "A9", "H1"});
    const Counts dark = bench.Read();
    bench.Set({"H0", "h2"});
    bench.now += 200'000;
    std::vector<double>& pass = ratios.emplace_back();
    for (const Counts& counts : bench.Scan(iLast)) {
      pass.push_back((counts.sample - dark.sample) / (counts.reference - dark.reference));
    }
    bench.Set({"h0"});
  }
  for (std::size_t i = 0; i < ratios[0].size(); ++i) ratios[1][i] /= ratios[0][i];
  const auto darkest = std::min_element(ratios[1].begin(), ratios[1].end());
  return iFirst + static_cast<int>(std::distance(ratios[1].begin(), darkest)) - TablePosition(peak);
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
