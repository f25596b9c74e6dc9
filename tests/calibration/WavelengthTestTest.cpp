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
      {{6, 6}, true, Zeros::Rebuilt},
      {{-6, 15}, true, Zeros::Rebuilt},
      {{20, -15}, true, Zeros::Rebuilt},
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

TEST(WavelengthTest, Refused) {
  Bench bench;
  EXPECT_EQ(bench.device->StartWaveLengthTest(), E_FAIL) << "before Initialize";
  ASSERT_EQ(bench.device.Initialize(), S_OK);
  EXPECT_EQ(bench.device->StartWaveLengthTest(), E_FAIL) << "during the start-up";
  ASSERT_TRUE(bench.device.WaitUntilNotBusy());
  EXPECT_TRUE(bench.IsInitialized());
  bench.world.kernel.threads.Start(1);
  EXPECT_EQ(bench.device->StartWaveLengthTest(), E_FAIL) << "without a thread";
  EXPECT_FALSE(bench.device->GetStatus().bBusy);
  EXPECT_TRUE(bench.IsInitialized());
  bench.device->Shutdown();
  EXPECT_EQ(bench.device->StartWaveLengthTest(), E_FAIL) << "after Shutdown";
}

TEST(WavelengthTest, SpectraThatFailCountAsOutOfTolerance) {
  const auto add = [](const simulator::Fault& fault) { return [fault](Bench& b) { b.AddFault(fault); }; };
  const auto cancelAt = [](const char* call) {
    return [call](Bench& b) { b.On(call, [&b] { b.device->CancelMeasurement(); }); };
  };
  struct {
    const char* what;
    std::function<void(Bench&)> fault;
    bool bPassed;
  } const cases[] = {
      {"first scan answered with an error", add({FaultKind::Error, 's', 1}), true},
      {"filter scan stops short", add({.kind = FaultKind::StopAfter, .letter = 's', .nth = 2, .count = 5}), true},
      {"every scan answered with an error", add({FaultKind::Error, 's'}), false},
      {"cancelled behind the open pass", cancelAt("4/50"), false},
      {"cancelled behind the filter pass", cancelAt("4/75"), false},
      {"cancelled at the start", cancelAt("29/0"), false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    StartedBench bench;
    c.fault(bench);
    RunTest(bench);
    EXPECT_EQ(bench.IsInitialized(), c.bPassed);
    EXPECT_EQ(bench.Ends(), c.bPassed ? "" : "OnError(0, 4294967294)");
    EXPECT_THAT(bench.Calls(), testing::EndsWith(c.bPassed ? " 30/0" : " 35/0"));
    EXPECT_EQ(bench.world.LogLines("offset failed: offset= 0 "), 0U) << "0 is no offset out of range";
    EXPECT_FALSE(bench.device->GetStatus().bCancel) << "the run's cancel does not outlive it";
  }
}

TEST(WavelengthTest, CommandErrorEndsIt) {
  StartedBench bench;
  bench.SetOffsetsOfSpectra({6});
  bench.AddFault({FaultKind::Error, 'z'});
  RunTest(bench);
  EXPECT_EQ(bench.Ends(), "OnError(0, 84)");
  EXPECT_EQ(bench.Count("35/0"), 1U);
  EXPECT_FALSE(bench.IsInitialized());
  EXPECT_EQ(ErrorRecords(bench.world), Texts{"[WaveLengthTestProc] SetHomePosition returned 84"});
  EXPECT_EQ(bench.Commands("$ "), 1) << "the motor is released";
}

TEST(WavelengthTest, ZerosWithoutLight) {
  for (const bool bPassed : {true, false}) {  // after nine tries without light, and with ten
    StartedBench bench;
    bench.SetOffsetsOfSpectra({6});
    int iReadings = 0;
    bool bZeros = false;
    bench.On("34/0", [&] { bZeros = true; });
    bench.world.ports.beforeWrite = [&, setOffset = bench.world.ports.beforeWrite](std::string_view bytes) {
      setOffset(bytes);
      if (bZeros && bytes == "$a3\r") {
        InstrumentFaults faults = bench.world.unit.Settings().faults;
        // With a shutter that stays closed the light reading is the dark one.
        faults.stuckShutter = iReadings < 18 || !bPassed ? std::optional<bool>(true) : std::nullopt;
        faults.detectorNoise = 0.0;
        bench.world.unit.SetFaults(faults);
        ++iReadings;
      }
    };
    RunTest(bench);
    EXPECT_EQ(bench.IsInitialized(), bPassed);
    EXPECT_EQ(bench.Ends(), bPassed ? "" : "OnError(0, 4294967293)");
    EXPECT_EQ(iReadings, bPassed ? 2 * (9 + 3) : 2 * 10);
    EXPECT_EQ(ZerosOf(bench), bPassed ? Zeros::Rebuilt : Zeros::None);
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
