#include <algorithm>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "calibration/SelfTestHost.h"
#include "calibration/WavelengthTest.h"
#include "platform/Platform.h"

namespace photometer::tests {
namespace {

using Calls = std::vector<std::string>;

constexpr int OLD_OFFSET = 3;

/// Percentages as the host sees them after each wavelength.
Calls ZeroMeasurementCalls() {
  const std::size_t nCount = DefaultCalibration().ZeroWavelengths.size();
  Calls calls{"OnNotify(0, 34, 0)"};
  for (std::size_t i = 1; i <= nCount; ++i) {
    calls.emplace_back("QueryCuvetteWait()");
    calls.push_back("OnNotify(0, 7, " + std::to_string(i * 100 / nCount) + ")");
  }
  return calls;
}

Calls ExpectedCalls(std::size_t nAttempts, bool bPassed, bool bZeros) {
  Calls calls{"OnNotify(0, 43, 0)", "OnNotify(0, 33, 0)", "OnNotify(0, 29, 0)", "QueryCuvetteWait()"};
  for (std::size_t i = 1; i <= nAttempts; ++i) {
    calls.insert(calls.end(), {"OnNotify(0, 4, 50)", "OnNotify(0, 4, 75)"});
    if (i < nAttempts || !bPassed) {
      calls.emplace_back("OnNotify(0, 4, 75)");
    }
  }
  if (bPassed) {
    calls.insert(calls.end(), {"OnNotify(0, 4, 100)", "OnNotify(0, 5, 0)"});
  }
  if (bZeros) {
    const Calls zeros = ZeroMeasurementCalls();
    calls.insert(calls.end(), zeros.begin(), zeros.end());
  }
  if (!bPassed) {
    calls.insert(calls.end(), {"OnError(0, 4294967294)", "OnNotify(0, 7, 0)", "OnNotify(0, 6, 0)"});
  }
  calls.insert(calls.end(), {"OnNotify(0, 43, 1)", bPassed ? "OnNotify(0, 30, 0)" : "OnNotify(0, 35, 0)"});
  return calls;
}

enum class Zeros { Kept, Rebuilt, None };

/// The host's own list of one entry, at a wavelength that the calibration does not have, tells whether it is kept.
constexpr double OWN_WAVELENGTH = 500.0;

void GiveOwnZeros(Device& device) {
  const std::vector<WavelengthCalibrationEntry> own{{0, OWN_WAVELENGTH, 1.0, 2.0, {}}};
  ASSERT_EQ(device->SetWavelengthCalibrations(&own), S_OK);
}

Zeros ZerosOf(Device& device) {
  WavelengthCalibrationEntry entry{};
  if (device->GetWavelengthCalibration(OWN_WAVELENGTH, &entry) == S_OK) {
    return Zeros::Kept;
  }
  const std::vector<double> wavelengths = DefaultCalibration().ZeroWavelengths;
  const bool bAll = std::ranges::all_of(wavelengths, [&](double dWavelength) {
    return device->GetWavelengthCalibration(dWavelength, &entry) == S_OK && entry.dValue > 0.0 && entry.dValueRef > 0.0;
  });
  return bAll ? Zeros::Rebuilt : Zeros::None;
}

HRESULT RunTest(Device& device) {
  const HRESULT result = device->StartWaveLengthTest();
  EXPECT_TRUE(device.WaitUntilNotBusy());
  return result;
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
      {{6, 16, 15}, true, Zeros::Rebuilt},
      {{-6, -16, 0}, true, Zeros::Rebuilt},
      {{16, 20, -30}, false, Zeros::None},
      {{6, 16, -16}, false, Zeros::None},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(testing::PrintToString(c.offsets));
    World world(InstrumentWithOffset(OLD_OFFSET));
    Device device(world);
    ASSERT_TRUE(device.StartUp());
    GiveOwnZeros(device);
    const std::size_t nCalls = world.sink.Calls().size();
    const std::size_t nCommands = world.Written().size();
    SetOffsetsOfSpectra(world, c.offsets);
    EXPECT_EQ(RunTest(device), S_OK);

    EXPECT_EQ(CallsFrom(world, nCalls), ExpectedCalls(c.offsets.size(), c.bPassed, c.zeros == Zeros::Rebuilt));
    EXPECT_EQ(device->GetStatus().bInitialized, c.bPassed ? TRUE : FALSE);
    EXPECT_EQ(ZerosOf(device), c.zeros);
    const std::vector<std::string> written = world.Written();
    EXPECT_EQ(static_cast<std::size_t>(
                  std::count(written.begin() + static_cast<std::ptrdiff_t>(nCommands), written.end(), "$z")),
              c.offsets.size() - 1)
        << "home is sought before each later attempt";
    const std::string passed = "set new m_iPositionOffset= " + std::to_string(c.offsets.back()) + " (old Position= 3)";
    EXPECT_EQ(world.LogLines("[WaveLengthTestProc] " + passed), c.bPassed ? 1U : 0U);
    EXPECT_EQ(world.LogLines("offset failed: offset= " + std::to_string(c.offsets.front()) + " (range +/- 5) !"),
              c.offsets.size() > 1 ? 1U : 0U);
    world.ExpectSwitchedOff();
    device.Close();
    world.ExpectClean();
  }
}

TEST(WavelengthTest, PassedTestMakesAnUninitialisedDeviceReady) {
  World world(InstrumentWithOffset(OLD_OFFSET));
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  SetOffsetsOfSpectra(world, {16, 20, -30, OLD_OFFSET, 4});
  RunTest(device);
  const MeasureRequest request = MeasureAt({500.0});
  EXPECT_EQ(device->StartMeasure(&request), E_FAIL);

  const std::size_t nCalls = world.sink.Calls().size();
  EXPECT_EQ(RunTest(device), S_OK);
  EXPECT_EQ(CallsFrom(world, nCalls), ExpectedCalls(1, true, true));
  EXPECT_EQ(world.LogLines("Set Home Position, because Attemp= 1 or bInitialized= 0"), 1U);
  EXPECT_EQ(world.LogLines("set new m_iPositionOffset= 3 (old Position= 3)"), 1U) << "the failed test kept the old one";
  EXPECT_EQ(ZerosOf(device), Zeros::Rebuilt);

  // The next one finds the device initialised, and the new offset is the measurements'.
  EXPECT_EQ(RunTest(device), S_OK);
  EXPECT_EQ(world.LogLines("set new m_iPositionOffset= 4 (old Position= 3)"), 1U);
  ASSERT_EQ(device->StartMeasure(&request), S_OK);
  ASSERT_TRUE(device.WaitUntilNotBusy());
  DeviceState tables;
  tables.Lock()->m_Params = DefaultParameters();
  WavelengthModel model(tables);
  ASSERT_TRUE(model.BuildTable());
  EXPECT_EQ(world.sink.Results().back().dwPosition, model.GetTablePosition(500.0) + 4);
  device.Close();
  model.FreeTable();
}

TEST(WavelengthTest, Refused) {
  World world;
  Device device(world);
  EXPECT_EQ(device->StartWaveLengthTest(), E_FAIL) << "before Initialize";
  ASSERT_EQ(device.Initialize(), S_OK);
  EXPECT_EQ(device->StartWaveLengthTest(), E_FAIL) << "during the start-up";
  ASSERT_TRUE(device.WaitUntilNotBusy());
  EXPECT_TRUE(device->GetStatus().bInitialized);

  const MeasureRequest request = MeasureAt({500.0});
  ASSERT_EQ(device->StartMeasure(&request), S_OK);
  EXPECT_EQ(device->StartWaveLengthTest(), E_FAIL) << "during a measurement";
  ASSERT_TRUE(device.WaitUntilNotBusy());
  EXPECT_EQ(world.sink.Count("OnNotify(7, 17, 100)"), 1U);

  world.kernel.threads.Start(1);
  EXPECT_EQ(device->StartWaveLengthTest(), E_FAIL) << "without a thread";
  EXPECT_FALSE(device->GetStatus().bBusy);
  EXPECT_TRUE(device->GetStatus().bInitialized);
  EXPECT_EQ(RunTest(device), S_OK);

  device->Shutdown();
  EXPECT_EQ(device->StartWaveLengthTest(), E_FAIL) << "after Shutdown";
  EXPECT_FALSE(device->GetStatus().bBusy);
  device.Close();
  world.ExpectClean();
}

TEST(WavelengthTest, SpectraThatFailCountAsOutOfTolerance) {
  struct {
    const char* what;
    std::function<void(World&, Device&)> fault;
    bool bPassed;
  } const cases[] = {
      {"first scan answered with an error",
       [](World& w, Device&) {
         w.unit.WireFaults().Add({simulator::FaultKind::Error, 's', 1});
       },
       true},
      {"filter scan stops short",
       [](World& w, Device&) {
         simulator::Fault fault{simulator::FaultKind::StopAfter, 's', 2};
         fault.count = 5;
         w.unit.WireFaults().Add(fault);
       },
       true},
      {"every scan answered with an error",
       [](World& w, Device&) {
         w.unit.WireFaults().Add({simulator::FaultKind::Error, 's'});
       },
       false},
      {"cancelled behind the open pass",
       [](World& w, Device& d) { w.sink.On("OnNotify(0, 4, 50)", [&d] { d->CancelMeasurement(); }); }, false},
      {"cancelled behind the filter pass",
       [](World& w, Device& d) { w.sink.On("OnNotify(0, 4, 75)", [&d] { d->CancelMeasurement(); }); }, false},
      {"cancelled at the start",
       [](World& w, Device& d) { w.sink.On("OnNotify(0, 29, 0)", [&d] { d->CancelMeasurement(); }); }, false},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    World world;
    Device device(world);
    ASSERT_TRUE(device.StartUp());
    const std::size_t nCalls = world.sink.Calls().size();
    c.fault(world, device);
    EXPECT_EQ(RunTest(device), S_OK);
    EXPECT_EQ(device->GetStatus().bInitialized, c.bPassed ? TRUE : FALSE);
    const Calls calls = CallsFrom(world, nCalls);
    EXPECT_EQ(std::ranges::count(calls, "OnError(0, 4294967294)"), c.bPassed ? 0 : 1);
    EXPECT_EQ(calls.back(), c.bPassed ? "OnNotify(0, 30, 0)" : "OnNotify(0, 35, 0)");
    // The run's cancel does not outlive it.
    EXPECT_FALSE(device->GetStatus().bCancel);
    world.ExpectSwitchedOff();
    device.Close();
    world.ExpectClean();
  }
}

TEST(WavelengthTest, CommandErrorEndsIt) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  SetOffsetsOfSpectra(world, {6});
  world.unit.WireFaults().Add({simulator::FaultKind::Error, 'z'});
  EXPECT_EQ(RunTest(device), S_OK);
  EXPECT_EQ(world.sink.Count("OnError(0, 84)"), 1U);
  EXPECT_EQ(world.sink.Count("OnNotify(0, 35, 0)"), 1U);
  EXPECT_FALSE(device->GetStatus().bInitialized);
  EXPECT_EQ(ErrorRecords(world, "WaveLengthTestProc", "SetHomePosition", 84), 1U);
  device.Close();
  world.ExpectClean();
}

TEST(WavelengthTest, ZerosWithoutLight) {
  struct {
    const char* what;
    /// Readings, dark and light, after which the lamp shines again; 0: never.
    int iDarkFor;
    bool bPassed;
  } const cases[] = {{"nine tries fail", 18, true}, {"ten tries fail", 0, false}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    World world;
    Device device(world);
    ASSERT_TRUE(device.StartUp());
    SetOffsetsOfSpectra(world, {6});
    int iReadings = 0;
    bool bZeros = false;
    world.sink.On("OnNotify(0, 34, 0)", [&] { bZeros = true; });
    world.ports.beforeWrite = [&, setOffset = world.ports.beforeWrite](std::string_view bytes) {
      setOffset(bytes);
      if (bZeros && bytes == "$a3\r") {
        simulator::InstrumentFaults faults = world.unit.Settings().faults;
        // Without a shutter that closes, no light and no difference between the two.
        faults.stuckShutter = iReadings < c.iDarkFor || c.iDarkFor == 0 ? std::optional<bool>(true) : std::nullopt;
        faults.detectorNoise = 0.0;
        world.unit.SetFaults(faults);
        ++iReadings;
      }
    };
    EXPECT_EQ(RunTest(device), S_OK);
    EXPECT_EQ(device->GetStatus().bInitialized, c.bPassed ? TRUE : FALSE);
    EXPECT_EQ(world.sink.Count("OnError(0, 4294967293)"), c.bPassed ? 0U : 1U);
    EXPECT_EQ(iReadings, c.bPassed ? 2 * (9 + 24) : 2 * 10);
    EXPECT_EQ(ZerosOf(device), c.bPassed ? Zeros::Rebuilt : Zeros::None);
    world.ExpectSwitchedOff();
    device.Close();
    world.ExpectClean();
  }
}

TEST(WavelengthTest, CuvetteHasToBeRemoved) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  const std::size_t nCalls = world.sink.Calls().size();
  SetOffsetsOfSpectra(world, {6});
  world.holder.Insert(10, world.board.Now());
  const auto insert = [&] { world.holder.Insert(10, world.board.Now()); };
  const auto remove = [&] { world.holder.Remove(world.board.Now() + 2 * 1'000'000); };
  world.sink.On("OnNotify(0, 31, 2)", remove);
  world.sink.On("OnNotify(0, 7, 50)", insert);
  EXPECT_EQ(RunTest(device), S_OK);
  Calls calls = CallsFrom(world, nCalls);
  std::erase_if(calls, [](const std::string& call) { return call.starts_with("OnCuvetteChanged"); });
  Calls expected = ExpectedCalls(2, true, true);
  for (const char* before : {"OnNotify(0, 4, 50)", "OnNotify(0, 7, 54)"}) {
    const auto place = std::ranges::find(expected, before);
    expected.insert(place, {"OnNotify(0, 31, 2)", "OnNotify(0, 32, 2)"});
  }
  EXPECT_EQ(calls, expected) << "asked twice; the zero measurement goes on where it was";
  device.Close();
  world.ExpectClean();
}

}  // namespace
}  // namespace photometer::tests
