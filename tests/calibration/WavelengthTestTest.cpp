#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "calibration/SelfTestBench.h"
#include "calibration/WavelengthModel.h"

namespace photometer::tests {
namespace {

constexpr int OLD_OFFSET = 3;
const UnitSettings OLD{.positionOffset = OLD_OFFSET};

std::string ExpectedCalls(std::size_t nAttempts, bool bPassed, bool bZeros) {
  std::string calls = "43/0 33/0 29/0";
  for (std::size_t i = 1; i <= nAttempts; ++i) {
    calls += i == nAttempts && bPassed ? " 4/50 4/75 4/100 5/0" : " 4/50 4/75 4/75";
  }
  calls += bZeros ? " 34/0 7/33 7/66 7/100" : "";
  return calls + (bPassed ? " 43/1 30/0" : " OnError(0, 4294967294) 7/0 6/0 43/1 35/0");
}

enum class Zeros { Kept, Rebuilt, None };

/// The host's own list of one entry, at a wavelength that the calibration does not have, tells whether it is kept.
constexpr double OWN_WAVELENGTH = 500.0;

void GiveOwnZeros(Bench& bench) {
  const std::vector<WavelengthCalibrationEntry> own{{0, OWN_WAVELENGTH, 1.0, 2.0, {}}};
  ASSERT_EQ(bench.device->SetWavelengthCalibrations(&own), S_OK);
}

Zeros ZerosOf(Bench& bench) {
  WavelengthCalibrationEntry entry{};
  if (bench.device->GetWavelengthCalibration(OWN_WAVELENGTH, &entry) == S_OK) {
    return Zeros::Kept;
  }
  const bool bAll = std::ranges::all_of(THREE_WAVELENGTHS, [&](double dWavelength) {
    return bench.device->GetWavelengthCalibration(dWavelength, &entry) == S_OK && entry.dValue > 0.0 &&
           entry.dValueRef > 0.0;
  });
  return bAll ? Zeros::Rebuilt : Zeros::None;
}

void RunTest(Bench& bench) {
  bench.Forget();
  EXPECT_EQ(bench.device->StartWaveLengthTest(), S_OK);
  EXPECT_TRUE(bench.device.WaitUntilNotBusy());
}

TEST(WavelengthTest, OffsetsOfEachAttempt) {
  struct {
    std::vector<int> offsets;
    bool bPassed;
    Zeros zeros;
  } const cases[] = {
      {{5}, true, Zeros::Kept},
      {{-5}, true, Zeros::Kept},
      {{-6, 15}, true, Zeros::Rebuilt},
      {{6, -15}, true, Zeros::Rebuilt},
      {{-6, -16, 0}, true, Zeros::Rebuilt},
      {{16, 20, -30}, false, Zeros::None},
      {{6, 16, -16}, false, Zeros::None},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.offsets));
    StartedBench bench(OLD);
    GiveOwnZeros(bench);
    bench.SetOffsetsOfSpectra(c.offsets);
    RunTest(bench);

    EXPECT_EQ(bench.Calls(), ExpectedCalls(c.offsets.size(), c.bPassed, c.zeros == Zeros::Rebuilt));
    EXPECT_EQ(bench.IsInitialized(), c.bPassed);
    EXPECT_EQ(ZerosOf(bench), c.zeros);
    EXPECT_EQ(bench.Commands("$z"), c.offsets.size() - 1) << "home is sought before each later attempt";
    const std::string passed = "set new m_iPositionOffset= " + std::to_string(c.offsets.back()) + " (old Position= 3)";
    EXPECT_EQ(bench.world.LogLines("[WaveLengthTestProc] " + passed), c.bPassed ? 1U : 0U);
    EXPECT_EQ(bench.world.LogLines("offset failed: offset= " + std::to_string(c.offsets.front()) + " (range +/- 5) !"),
              c.offsets.size() > 1 ? 1U : 0U);
    EXPECT_EQ(bench.world.LogLines("[WaveLengthTestProc] 525 nm: "), c.zeros == Zeros::Rebuilt ? 1U : 0U);
  }
}

TEST(WavelengthTest, PassedTestMakesAnUninitialisedDeviceReady) {
  StartedBench bench(OLD);
  GiveOwnZeros(bench);
  bench.SetOffsetsOfSpectra({16, 20, -30, OLD_OFFSET, 4});
  RunTest(bench);
  const MeasureRequest request = MeasureAt({500.0});
  EXPECT_EQ(bench.device->StartMeasure(&request), E_FAIL);

  RunTest(bench);
  EXPECT_EQ(bench.Calls(), ExpectedCalls(1, true, true));
  EXPECT_EQ(bench.world.LogLines("Set Home Position, because Attemp= 1 or bInitialized= 0"), 1U);
  EXPECT_EQ(bench.world.LogLines("set new m_iPositionOffset= 3 (old Position= 3)"), 1U) << "the failed test kept it";
  EXPECT_EQ(ZerosOf(bench), Zeros::Rebuilt);

  // The next one finds the device initialised, and the new offset is the measurements'.
  RunTest(bench);
  EXPECT_EQ(bench.world.LogLines("set new m_iPositionOffset= 4 (old Position= 3)"), 1U);
  ASSERT_EQ(bench.device->StartMeasure(&request), S_OK);
  ASSERT_TRUE(bench.device.WaitUntilNotBusy());
  const auto dwPosition = bench.world.sink.Results().back().dwPosition;
  EXPECT_NEAR(WavelengthOfPosition(DefaultParameters(), dwPosition - 4), 500.0, 0.05);
}

TEST(WavelengthTest, Failures) {
  const auto add = [](const simulator::Fault& fault) { return [fault](Bench& b) { b.AddFault(fault); }; };
  const auto cancel = [](Bench& b) { b.On("4/75", [&b] { b.device->CancelMeasurement(); }); };
  const auto keepDark = [](Bench& b) {
    b.On("34/0", [&b] { b.world.unit.SetFaults({.stuckShutter = true, .detectorNoise = 0.0}); });
  };
  struct {
    std::function<void(Bench&)> prepare;
    /// Nothing: it passes.
    std::string error;
    const char* record;
  } const cases[] = {
      // A spectrum that fails is as good as an offset out of tolerance.
      {add({FaultKind::Error, 's', 1}), "", ""},
      {add({FaultKind::Error, 's'}), "OnError(0, 4294967294)", "Scan returned -2"},
      {cancel, "OnError(0, 4294967294)", "SetMirror returned -2"},
      {add({FaultKind::Error, 'z'}), "OnError(0, 84)", "SetHomePosition returned 84"},
      // Without light there are no zero values.
      {keepDark, "OnError(0, 4294967293)", "GetADValue returned -3"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.record);
    StartedBench bench;
    bench.SetOffsetsOfSpectra({6});
    c.prepare(bench);
    RunTest(bench);
    const bool bPassed = c.error.empty();
    EXPECT_EQ(bench.IsInitialized(), bPassed);
    EXPECT_EQ(bench.Ends(), c.error);
    EXPECT_THAT(bench.Calls(), testing::EndsWith(bPassed ? " 30/0" : " 35/0"));
    EXPECT_EQ(bench.world.LogLines("offset failed: offset= 0 "), 0U) << "0 is no offset out of range";
    EXPECT_FALSE(bench.device->GetStatus().bCancel) << "the run's cancel does not outlive it";
    EXPECT_EQ(ErrorRecords(bench.world), bPassed ? Texts{} : Texts{std::string("[WaveLengthTestProc] ") + c.record});
    EXPECT_EQ(bench.Commands("$ "), bPassed ? 0 : 1) << "the motor is released";
  }
}

TEST(WavelengthTest, CuvetteHasToBeRemoved) {
  StartedBench bench;
  bench.SetOffsetsOfSpectra({6});
  bench.InsertAndWait();
  bench.RemoveAfter("31/2");
  bench.On("7/33", [&] { bench.Insert(10); });
  RunTest(bench);
  EXPECT_EQ(bench.Calls(),
            "43/0 33/0 29/0 31/2 32/2 4/50 4/75 4/75 4/50 4/75 4/100 5/0 34/0 7/33 31/2 32/2 7/66 7/100 43/1 30/0")
      << "asked twice; the zero measurement goes on where it was";
}

}  // namespace
}  // namespace photometer::tests
