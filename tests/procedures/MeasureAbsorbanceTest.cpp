// The whole chain: what a host computes from the delivered values is the sample's absorbance.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Runs.h"
#include "procedures/AbsorbanceCriterion.h"

namespace photometer::tests {
namespace {

using simulator::Sample;

/// Absorbances from 0.05 to 2.0: the whole range in one sample, and each end everywhere.
Sample SampleOf(std::uint64_t nSeed) {
  switch (nSeed % 4) {
    case 0:
      return Sample::NeutralGlass(0.05);
    case 1:
      return Sample::NeutralGlass(2.0);
    case 2:
      return Sample::Bands({{360, 1.8, 30}, {520, 1.2, 40}, {680, 0.3, 40}, {850, 2.0, 60}, {1000, 0.5, 60}});
    default:
      return Sample::Bands({{340, 0.2, 60}, {430, 1.9, 40}, {590, 0.8, 30}, {720, 1.9, 50}, {940, 1.1, 70}});
  }
}

/// Measures a sample at the wavelengths of the zero values, on an instrument of its own: each gives one point at each
/// wavelength, for points that share a zero value would share its error.
void Measure(std::uint64_t nSeed, AbsorbanceCriterion* pCriterion) {
  WorldOptions options = Scheduled(nSeed % 2 == 0 ? platform::Policy::Random : platform::Policy::FirstCome, nSeed);
  options.unit.seed = nSeed;
  options.unit.bUV = nSeed % 5 != 0;
  options.unit.positionOffset = static_cast<int>(nSeed % 31) - 15;
  ReadyDevice device(options);
  device.world.unit.SetSample(SampleOf(nSeed), device.world.board.Now());
  const std::vector<WavelengthCalibrationEntry> zeros = device.world.sink.References();
  const MeasureRequest request = MeasureAt(WavelengthsOf(zeros));
  const MeasureValues values = device.Run([&](IPhotometer& photometer) { return photometer.StartMeasure(&request); });
  AddAbsorbances(device.world, zeros, values, pCriterion);
}

TEST(MeasureAbsorbance, IsTheSamples) {
  AbsorbanceCriterion criterion;
  for (std::uint64_t nSeed = 1; nSeed <= 40; ++nSeed) {
    SCOPED_TRACE(nSeed);
    Measure(nSeed, &criterion);
  }
  EXPECT_TRUE(criterion.Holds()) << criterion.Text();
}

}  // namespace
}  // namespace photometer::tests
