// The whole chain: what a host computes from the delivered values is the sample's absorbance.

#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "photometer/IPhotometer.h"
#include "procedures/AbsorbanceCriterion.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

using simulator::Sample;

const std::vector<double> WAVELENGTHS{340, 365, 380, 420, 470, 525, 580, 690, 850, 1000};

/// An instrument that has started up with zero values at all wavelengths.
class Instrument {
 public:
  Instrument(std::uint64_t nSeed, int iOffset, bool bUV = true) : world(Options(nSeed, iOffset, bUV)), device(world) {
    PhotometerParameters params = DefaultParameters();
    params.bUV = bUV ? TRUE : FALSE;
    CalibrationData calibration = DefaultCalibration();
    calibration.ZeroWavelengths = WAVELENGTHS;
    EXPECT_EQ(device->Initialize(&params, &calibration), S_OK);
    EXPECT_TRUE(device.WaitUntilNotBusy());
    EXPECT_TRUE(device->GetStatus().bInitialized);
  }
  ~Instrument() {
    device.Close();
    world.ExpectClean();
  }
  Instrument(const Instrument&) = delete;
  Instrument& operator=(const Instrument&) = delete;

  void Measure(const Sample& sample, AbsorbanceCriterion* pCriterion) {
    world.unit.SetSample(sample, world.board.Now());
    const MeasureRequest request = MeasureAt(WAVELENGTHS);
    EXPECT_EQ(device->StartMeasure(&request), S_OK);
    EXPECT_TRUE(device.WaitUntilNotBusy());
    AddAbsorbances(world, world.sink.References(), world.sink.Results(), pCriterion);
  }

  World world;
  Device device;

 private:
  static WorldOptions Options(std::uint64_t nSeed, int iOffset, bool bUV) {
    WorldOptions options;
    options.board.seed = nSeed;
    options.board.policy = nSeed % 2 == 0 ? platform::Policy::Random : platform::Policy::FirstCome;
    options.unit.seed = nSeed;
    options.unit.bUV = bUV;
    options.unit.positionOffset = iOffset;
    return options;
  }
};

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

TEST(MeasureAbsorbance, IsTheSamples) {
  AbsorbanceCriterion criterion;
  for (std::uint64_t nSeed = 1; nSeed <= 40; ++nSeed) {
    SCOPED_TRACE(nSeed);
    // Each instrument gives one point at each wavelength: points that share a zero value would share its error.
    Instrument instrument(nSeed, static_cast<int>(nSeed % 31) - 15, nSeed % 5 != 0);
    instrument.Measure(SampleOf(nSeed), &criterion);
  }
  EXPECT_TRUE(criterion.Holds()) << criterion.Text();
}

TEST(MeasureAbsorbance, ShowsEachFaultOfTheInstrument) {
  simulator::InstrumentFaults leaking;
  leaking.filterLeak.fill(0.5);
  struct {
    const char* what;
    simulator::InstrumentFaults faults;
    bool bHolds;
  } const cases[] = {
      {"none", {}, true},
      {"lamp off", {.halogenLevel = 0.0}, false},
      {"filters exchanged", {.filterOrder = {0, 1, 3, 2, 4, 5, 6, 7}}, false},
      {"leaking filters", leaking, false},
      {"mirror to the other lamp", {.stuckMirror = 2}, false},
      {"mirror parked", {.stuckMirror = 0}, false},
      {"high gain", {.stuckGain = true}, false},
      {"normal gain", {.stuckGain = false}, false},
      {"shutter closed", {.stuckShutter = true}, false},
      {"1 nm", {.slippedSteps = 12}, false},
      {"-1 nm", {.slippedSteps = -12}, false},
  };
  for (const auto& c : cases) {
    AbsorbanceCriterion criterion;
    for (const std::uint64_t nSeed : {2U, 3U, 6U, 7U}) {
      Instrument instrument(nSeed, 3);
      instrument.world.unit.SetFaults(c.faults);
      instrument.Measure(SampleOf(nSeed), &criterion);
    }
    EXPECT_EQ(criterion.Holds(), c.bHolds) << c.what << ": " << criterion.Text();
  }
}

}  // namespace
}  // namespace photometer::tests
