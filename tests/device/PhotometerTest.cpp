#include <algorithm>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "device/Photometer.h"
#include "platform/Platform.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

using Commands = std::vector<std::string>;

// ---- making and destroying ----

TEST(Photometer, OneCounterForAllObjects) {
  World world;
  IPhotometer* const pFirst = CreatePhotometer();
  IPhotometer* const pSecond = CreatePhotometer();
  EXPECT_EQ(pFirst->AddRef(), 3);
  EXPECT_EQ(pFirst->Release(), 2);
  EXPECT_EQ(pFirst->Release(), 1);
  EXPECT_EQ(world.board.DebugText().find(u"[Photometer] Destructed.\n\r"), std::u16string::npos);
  EXPECT_EQ(pSecond->Release(), 0);
  const std::u16string debug = world.board.DebugText();
  EXPECT_EQ(debug, u"[Photometer] Constructed.\n\r[Photometer] Constructed.\n\r[Photometer] Destructed.\n\r");
  // The second release has destroyed only the second object: give the first one back by its own hand.
  pFirst->AddRef();
  EXPECT_EQ(pFirst->Release(), 0);
  world.ExpectClean();
}

TEST(Photometer, CannotBeMadeWithoutAnEvent) {
  World world;
  world.kernel.events.Start(1);
  EXPECT_EQ(CreatePhotometer(), nullptr);
  world.ExpectClean();
}

TEST(Photometer, StateAfterConstruction) {
  World world;
  Device device(world);
  const DeviceStatus status = device->GetStatus();
  EXPECT_EQ(status.bUVLampOn + status.bInitialized + status.bBusy + status.bCancel + status.bSipperDetected, 0);
  EXPECT_EQ(status.szFirmwareVersion[0], u'\0');
  EXPECT_EQ(status.iCuvetteSize, 0);
  const PumpInfo pump = device->GetPumpInfo();
  EXPECT_EQ(pump.m_iOperatingMode, 0);
  EXPECT_EQ(pump.m_strPumpVersion, "");
}

// ---- the small operations ----

struct OperationCase {
  const char* call;
  std::function<LONG(IPhotometer&)> run;
  /// Before `Initialize`, and when the device is ready.
  LONG iBefore;
  LONG iReady;
};

TEST(Photometer, ResultsOfTheSmallOperations) {
  WavelengthCalibrationEntry entry{};
  const std::vector<WavelengthCalibrationEntry> entries{{0, 500.0, 1.0, 2.0, {}}};
  const BYTE command[] = {'$', 'v', '\r'};
  const MeasureRequest request = MeasureAt({500.0});
  const OperationCase cases[] = {
      {"GetUVLampState", [](IPhotometer& p) { return p.GetUVLampState(); }, -1, -1},
      {"GetCuvetteSize", [](IPhotometer& p) { return p.GetCuvetteSize(); }, 0, 0},
      {"GetCuvetteState", [](IPhotometer& p) { return p.GetCuvetteState(); }, 0, 0},
      {"SetExternalPortSettings", [](IPhotometer& p) { return p.SetExternalPortSettings(9600, 8, 0); }, 0, 0},
      {"CancelFlush", [](IPhotometer& p) { return p.CancelFlush(); }, 0, 0},
      {"SetUVSessionTime", [](IPhotometer& p) { return p.SetUVSessionTime(60); }, 0, 0},
      {"SetWavelengthCheckInterval", [](IPhotometer& p) { return p.SetWavelengthCheckInterval(60); }, 0, 0},
      {"ResetActivityTime", [](IPhotometer& p) { return p.ResetActivityTime(); }, 0, 0},
      {"CancelMeasurement", [](IPhotometer& p) { return p.CancelMeasurement(); }, E_FAIL, E_FAIL},
      {"SetWavelengthCalibrations(null)", [](IPhotometer& p) { return p.SetWavelengthCalibrations(nullptr); },
       E_POINTER, E_POINTER},
      {"SetWavelengthCalibrations", [&](IPhotometer& p) { return p.SetWavelengthCalibrations(&entries); }, E_FAIL, 0},
      {"GetWavelengthCalibration(null)", [](IPhotometer& p) { return p.GetWavelengthCalibration(500.0, nullptr); },
       E_POINTER, E_POINTER},
      {"GetWavelengthCalibration", [&](IPhotometer& p) { return p.GetWavelengthCalibration(500.0, &entry); }, E_FAIL,
       0},
      {"GetWavelengthCalibration elsewhere", [&](IPhotometer& p) { return p.GetWavelengthCalibration(600.0, &entry); },
       E_FAIL, E_FAIL},
      {"WriteOpticalPort(null)", [](IPhotometer& p) { return p.WriteOpticalPort(nullptr, 3); }, E_POINTER, E_POINTER},
      {"WriteOpticalPort", [&](IPhotometer& p) { return p.WriteOpticalPort(command, 3); }, 0, 0},
      {"StartMeasure(null)", [](IPhotometer& p) { return p.StartMeasure(nullptr); }, E_POINTER, E_POINTER},
      {"Initialize(null, null)", [](IPhotometer& p) { return p.Initialize(nullptr, nullptr); }, E_POINTER,
       E_ACCESSDENIED},
  };
  World world;
  Device device(world);
  for (const OperationCase& c : cases) {
    EXPECT_EQ(c.run(*device.operator->()), c.iBefore) << c.call << " before Initialize";
  }
  ASSERT_TRUE(device.StartUp());
  for (const OperationCase& c : cases) {
    EXPECT_EQ(c.run(*device.operator->()), c.iReady) << c.call << " when ready";
  }
  device.Close();
  world.ExpectClean();
}

TEST(Photometer, SettersStoreWhatTheyAreGiven) {
  World world;
  Device device(world);
  device->SetSipperDetected(TRUE);
  device->SetPumpDisabled(TRUE);
  device->SetCuvetteSize(50);
  EXPECT_TRUE(device->GetStatus().bSipperDetected);
  EXPECT_TRUE(device->GetPumpInfo().m_bPumpDisabled);
  EXPECT_EQ(device->GetCuvetteSize(), 50);
  Sleep(1234);
  device->ResetActivityTime();
  EXPECT_EQ(device->GetStatus().dwLastActivityTick, GetTickCount());
}

TEST(Photometer, ChangedOperatingModeForgetsThePump) {
  World world;
  Device device(world);
  device->SetOperatingMode(1);
  device->SetSipperDetected(TRUE);
  device->SetOperatingMode(1);
  EXPECT_TRUE(device->GetStatus().bSipperDetected);
  device->SetOperatingMode(2);
  EXPECT_FALSE(device->GetStatus().bSipperDetected);
  EXPECT_EQ(device->GetPumpInfo().m_iOperatingMode, 2);
}

TEST(Photometer, CalibrationEntries) {
  struct {
    std::vector<double> wavelengths;
    double dWavelength;
    double dFound;
  } const cases[] = {
      {{499.95, 500.05}, 500.0, 500.05},
      {{500.05, 499.95}, 500.0, 499.95},
      {{500.125}, 500.0, 0.0},
      {{500.0625}, 500.0, 500.0625},
      {{}, 500.0, 0.0},
  };
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  EXPECT_EQ(world.sink.References().size(), 24U);
  for (const auto& c : cases) {
    std::vector<WavelengthCalibrationEntry> entries;
    for (const double dWavelength : c.wavelengths) {
      entries.push_back({0, dWavelength, 1.0, 2.0, {}});
    }
    EXPECT_EQ(device->SetWavelengthCalibrations(&entries), S_OK);
    WavelengthCalibrationEntry found{};
    EXPECT_EQ(device->GetWavelengthCalibration(c.dWavelength, &found), c.dFound == 0.0 ? E_FAIL : S_OK);
    EXPECT_EQ(found.dWavelength, c.dFound);
  }
}

// ---- the start pattern ----

TEST(Photometer, StartIsRefusedUnlessReady) {
  World world;
  Device device(world);
  const MeasureRequest request = MeasureAt({500.0, 600.0});
  ASSERT_EQ(device.Initialize(), S_OK);
  EXPECT_EQ(device->StartMeasure(&request), E_FAIL) << "during the start-up";
  ASSERT_TRUE(device.WaitUntilNotBusy());
  ASSERT_EQ(device->StartMeasure(&request), S_OK);
  EXPECT_TRUE(device->GetStatus().bBusy);
  EXPECT_EQ(device->StartMeasure(&request), E_FAIL) << "while one runs";
  ASSERT_TRUE(device.WaitUntilNotBusy());
  EXPECT_EQ(world.sink.Count("OnNotify(7, 17, 100)"), 1U);
  EXPECT_EQ(world.sink.Results().size(), 2U);
  device->Shutdown();
  EXPECT_EQ(device->StartMeasure(&request), E_FAIL) << "after Shutdown";
  device.Close();
  world.ExpectClean();
}

TEST(Photometer, UnsoundRequestsChangeNothing) {
  const double dNaN = std::numeric_limits<double>::quiet_NaN();
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  for (const double dWavelength : {189.9, 1100.1, dNaN, std::numeric_limits<double>::infinity()}) {
    const MeasureRequest request = MeasureAt({500.0, dWavelength});
    EXPECT_EQ(device->StartMeasure(&request), E_INVALIDARG) << dWavelength;
  }
  MeasureRequest request = MeasureAt({500.0});
  request.m_dwReadings = 0;
  EXPECT_EQ(device->StartMeasure(&request), E_INVALIDARG);
  request = MeasureAt({500.0});
  request.m_Tags.clear();
  EXPECT_EQ(device->StartMeasure(&request), E_INVALIDARG);
  request = MeasureAt({500.0});
  request.m_dLampSwitchingPoint = dNaN;
  EXPECT_EQ(device->StartMeasure(&request), E_INVALIDARG);
  EXPECT_FALSE(device->GetStatus().bBusy);
}

TEST(Photometer, ThreadThatCannotBeStartedLeavesTheDeviceReady) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  const MeasureRequest request = MeasureAt({500.0});
  world.kernel.threads.Start(1);
  EXPECT_EQ(device->StartMeasure(&request), E_FAIL);
  EXPECT_FALSE(device->GetStatus().bBusy);
  EXPECT_EQ(device->StartMeasure(&request), S_OK);
  EXPECT_TRUE(device.WaitUntilNotBusy());
}

TEST(Photometer, CancelIsNeverLostAndNeverOutlivesItsRun) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  const MeasureRequest request = MeasureAt({500.0, 600.0, 700.0});
  ASSERT_EQ(device->StartMeasure(&request), S_OK);
  EXPECT_EQ(device->CancelMeasurement(), S_OK);
  EXPECT_EQ(device->CancelMeasurement(), S_OK);
  ASSERT_TRUE(device.WaitUntilNotBusy());
  EXPECT_FALSE(device->GetStatus().bCancel);
  EXPECT_EQ(world.sink.Count("OnNotify(7, 18, 100)"), 1U);
  EXPECT_EQ(world.sink.Count("OnNotify(7, 17, 100)"), 0U);
  EXPECT_EQ(world.LogLines("[Photometer] Cancel measurement ...."), 2U);
  EXPECT_EQ(device->CancelMeasurement(), E_FAIL);
  EXPECT_EQ(world.LogLines("[Photometer] Cancel measurement ...."), 2U);
  ASSERT_EQ(device->StartMeasure(&request), S_OK);
  ASSERT_TRUE(device.WaitUntilNotBusy());
  EXPECT_EQ(world.sink.Count("OnNotify(7, 17, 100)"), 1U);
}

// ---- raw writes ----

TEST(Photometer, RawWritesOfTheHost) {
  World world;
  Device device(world);
  const BYTE command[] = {'$', 'i', '7', '\r'};
  ASSERT_EQ(device.Initialize(), S_OK);
  world.transcript.Clear();
  EXPECT_EQ(device->WriteOpticalPort(command, 4), E_FAIL) << "the start-up owns the unit";
  ASSERT_TRUE(device.WaitUntilNotBusy());
  const Commands during = world.Written();
  EXPECT_EQ(std::count(during.begin(), during.end(), "$i7"), 0);
  EXPECT_EQ(device->WriteOpticalPort(command, 4), S_OK);
  Sleep(100);
  EXPECT_EQ(world.unit.State().measurementLength, 7);
}

TEST(Photometer, LateAnswersToTheHostsBytesAreNotTakenForTheRuns) {
  struct {
    simulator::FaultKind kind;
    simulator::Time delay;
  } const cases[] = {
      {simulator::FaultKind::Late, 1'000'000},
      {simulator::FaultKind::Late, 5'000'000},
      {simulator::FaultKind::Silence, 0},
  };
  for (const auto& c : cases) {
    World world;
    Device device(world);
    ASSERT_TRUE(device.StartUp());
    world.unit.WireFaults().Add({.kind = c.kind, .letter = 'z', .delay = c.delay});
    constexpr BYTE COMMANDS[] = {'$', 'z', '\r', '$', 'd', '0', '\r'};
    EXPECT_EQ(device->WriteOpticalPort(COMMANDS, sizeof(COMMANDS)), S_OK);
    const std::uint64_t nStart = world.board.Now();
    std::uint64_t nFirst = 0;
    world.ports.beforeWrite = [&](std::string_view) { nFirst = nFirst == 0 ? world.board.Now() : nFirst; };
    const MeasureRequest request = MeasureAt({500.0, 600.0});
    ASSERT_EQ(device->StartMeasure(&request), S_OK);
    ASSERT_TRUE(device.WaitUntilNotBusy());
    EXPECT_GE(nFirst - nStart, c.delay) << "the answer has come, or is given up";
    EXPECT_LE(nFirst - nStart, 61'000'000U);
    EXPECT_EQ(world.sink.Count("OnNotify(7, 17, 100)"), 1U);
    EXPECT_EQ(world.sink.Results().size(), 2U);
    device.Close();
    world.ExpectClean();
  }
}

}  // namespace
}  // namespace photometer::tests
