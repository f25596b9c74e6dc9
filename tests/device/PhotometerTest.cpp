#include <algorithm>
#include <limits>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "device/Bench.h"
#include "device/Photometer.h"
#include "platform/Platform.h"

namespace photometer::tests {
namespace {

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

// ---- the small operations ----

TEST(Photometer, ResultsOfTheSmallOperations) {
  using P = IPhotometer;
  static WavelengthCalibrationEntry entry{};
  static const std::vector<WavelengthCalibrationEntry> entries{{0, 500.0, 1.0, 2.0, {}}};
  static const BYTE command[] = {'$', 'v', '\r'};
  const struct {
    const char* call;
    LONG (*run)(P&);
    /// Before `Initialize`, and when the device is ready.
    LONG iBefore;
    LONG iReady;
  } cases[] = {
      {"GetUVLampState", [](P& p) { return p.GetUVLampState(); }, -1, -1},
      {"GetCuvetteSize", [](P& p) { return p.GetCuvetteSize(); }, 0, 0},
      {"GetCuvetteState", [](P& p) { return p.GetCuvetteState(); }, 0, 0},
      {"SetExternalPortSettings", [](P& p) { return p.SetExternalPortSettings(9600, 8, 0); }, 0, 0},
      {"CancelFlush", [](P& p) { return p.CancelFlush(); }, 0, 0},
      {"SetUVSessionTime", [](P& p) { return p.SetUVSessionTime(60); }, 0, 0},
      {"SetWavelengthCheckInterval", [](P& p) { return p.SetWavelengthCheckInterval(60); }, 0, 0},
      {"ResetActivityTime", [](P& p) { return p.ResetActivityTime(); }, 0, 0},
      {"CancelMeasurement", [](P& p) { return p.CancelMeasurement(); }, E_FAIL, E_FAIL},
      {"SetCalibrations(null)", [](P& p) { return p.SetWavelengthCalibrations(nullptr); }, E_POINTER, E_POINTER},
      {"SetCalibrations", [](P& p) { return p.SetWavelengthCalibrations(&entries); }, E_FAIL, 0},
      {"GetCalibration(null)", [](P& p) { return p.GetWavelengthCalibration(500.0, nullptr); }, E_POINTER, E_POINTER},
      {"GetCalibration", [](P& p) { return p.GetWavelengthCalibration(500.0, &entry); }, E_FAIL, 0},
      {"GetCalibration elsewhere", [](P& p) { return p.GetWavelengthCalibration(600.0, &entry); }, E_FAIL, E_FAIL},
      {"WriteOpticalPort(null)", [](P& p) { return p.WriteOpticalPort(nullptr, 3); }, E_POINTER, E_POINTER},
      {"WriteOpticalPort", [](P& p) { return p.WriteOpticalPort(command, 3); }, 0, 0},
      {"WriteExternalPort", [](P& p) { return p.WriteExternalPort(nullptr, 0); }, 0, 0},
      {"StartMeasure(null)", [](P& p) { return p.StartMeasure(nullptr); }, E_POINTER, E_POINTER},
      {"Initialize(null, null)", [](P& p) { return p.Initialize(nullptr, nullptr); }, E_POINTER, E_ACCESSDENIED},
  };
  Bench b;
  for (const auto& c : cases) {
    EXPECT_EQ(c.run(*b.device.operator->()), c.iBefore) << c.call << " before Initialize";
  }
  ASSERT_TRUE(b.device.StartUp());
  for (const auto& c : cases) {
    EXPECT_EQ(c.run(*b.device.operator->()), c.iReady) << c.call << " when ready";
  }
}

TEST(Photometer, SettersStoreAndAChangedModeForgetsThePump) {
  Bench b;
  b.device->SetPumpDisabled(TRUE);
  b.device->SetCuvetteSize(50);
  EXPECT_TRUE(b.device->GetPumpInfo().m_bPumpDisabled);
  EXPECT_EQ(b.device->GetCuvetteSize(), 50);
  Sleep(1234);
  b.device->ResetActivityTime();
  EXPECT_EQ(b.device->GetStatus().dwLastActivityTick, GetTickCount());
  b.device->SetOperatingMode(1);
  b.device->SetSipperDetected(TRUE);
  b.device->SetOperatingMode(1);
  EXPECT_TRUE(b.device->GetStatus().bSipperDetected);
  b.device->SetOperatingMode(2);
  EXPECT_FALSE(b.device->GetStatus().bSipperDetected);
  EXPECT_EQ(b.device->GetPumpInfo().m_iOperatingMode, 2);
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
  Bench b;
  ASSERT_TRUE(b.device.StartUp());
  EXPECT_EQ(b.world.sink.References().size(), 24U);
  for (const auto& c : cases) {
    std::vector<WavelengthCalibrationEntry> entries;
    for (const double dWavelength : c.wavelengths) {
      entries.push_back({0, dWavelength, 1.0, 2.0, {}});
    }
    EXPECT_EQ(b.device->SetWavelengthCalibrations(&entries), S_OK);
    WavelengthCalibrationEntry found{};
    EXPECT_EQ(b.device->GetWavelengthCalibration(c.dWavelength, &found), c.dFound == 0.0 ? E_FAIL : S_OK);
    EXPECT_EQ(found.dWavelength, c.dFound);
  }
}

// ---- the start pattern ----

TEST(Photometer, StartIsRefusedUnlessReady) {
  Bench b;
  ASSERT_EQ(b.device.Initialize(), S_OK);
  EXPECT_EQ(b.StartMeasure({500.0}), E_FAIL) << "during the start-up";
  ASSERT_TRUE(b.device.WaitUntilNotBusy());
  b.world.kernel.threads.Start(1);
  EXPECT_EQ(b.StartMeasure({500.0}), E_FAIL) << "without a thread";
  EXPECT_FALSE(b.device->GetStatus().bBusy);
  ASSERT_EQ(b.StartMeasure({500.0, 600.0}), S_OK);
  EXPECT_TRUE(b.device->GetStatus().bBusy);
  EXPECT_EQ(b.StartMeasure({500.0}), E_FAIL) << "while one runs";
  ASSERT_TRUE(b.device.WaitUntilNotBusy());
  EXPECT_EQ(b.world.sink.Count("OnNotify(7, 17, 100)"), 1U);
  EXPECT_EQ(b.world.sink.Results().size(), 2U);
  b.device->Shutdown();
  EXPECT_EQ(b.StartMeasure({500.0}), E_FAIL) << "after Shutdown";
}

TEST(Photometer, UnsoundRequestsChangeNothing) {
  constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
  void (*const spoilers[])(MeasureRequest&) = {
      [](MeasureRequest& r) { r.m_Wavelengths[1] = 189.9; },
      [](MeasureRequest& r) { r.m_Wavelengths[1] = 1100.1; },
      [](MeasureRequest& r) { r.m_Wavelengths[1] = NOT_A_NUMBER; },
      [](MeasureRequest& r) { r.m_Wavelengths[1] = std::numeric_limits<double>::infinity(); },
      [](MeasureRequest& r) { r.m_dwReadings = 0; },
      [](MeasureRequest& r) { r.m_Tags.clear(); },
      [](MeasureRequest& r) { r.m_dLampSwitchingPoint = NOT_A_NUMBER; },
  };
  Bench b;
  ASSERT_TRUE(b.device.StartUp());
  for (const auto spoil : spoilers) {
    MeasureRequest request = MeasureAt({500.0, 600.0});
    spoil(request);
    EXPECT_EQ(b.device->StartMeasure(&request), E_INVALIDARG);
    EXPECT_FALSE(b.device->GetStatus().bBusy);
  }
}

TEST(Photometer, CancelIsNeverLostAndNeverOutlivesItsRun) {
  Bench b;
  ASSERT_TRUE(b.device.StartUp());
  ASSERT_EQ(b.StartMeasure({500.0, 600.0, 700.0}), S_OK);
  EXPECT_EQ(b.device->CancelMeasurement(), S_OK);
  EXPECT_EQ(b.device->CancelMeasurement(), S_OK);
  ASSERT_TRUE(b.device.WaitUntilNotBusy());
  EXPECT_FALSE(b.device->GetStatus().bCancel);
  EXPECT_EQ(b.world.sink.Count("OnNotify(7, 18, 100)"), 1U);
  EXPECT_EQ(b.world.sink.Count("OnNotify(7, 17, 100)"), 0U);
  EXPECT_EQ(b.device->CancelMeasurement(), E_FAIL);
  EXPECT_EQ(b.world.LogLines("[Photometer] Cancel measurement ....\n"), 2U);
  ASSERT_EQ(b.StartMeasure({500.0, 600.0, 700.0}), S_OK);
  ASSERT_TRUE(b.device.WaitUntilNotBusy());
  EXPECT_EQ(b.world.sink.Count("OnNotify(7, 17, 100)"), 1U);
}

// ---- raw writes ----

HRESULT WriteOpticalPort(Bench& b, std::string_view bytes) {
  return b.device->WriteOpticalPort(reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()));
}

TEST(Photometer, RawWritesOfTheHost) {
  Bench b;
  ASSERT_EQ(b.device.Initialize(), S_OK);
  EXPECT_EQ(WriteOpticalPort(b, "$i7\r"), E_FAIL) << "the start-up owns the unit";
  ASSERT_TRUE(b.device.WaitUntilNotBusy());
  const Commands during = b.world.Written();
  EXPECT_EQ(std::count(during.begin(), during.end(), "$i7"), 0);
  EXPECT_EQ(WriteOpticalPort(b, "$i7\r"), S_OK);
  Sleep(100);
  EXPECT_EQ(b.world.unit.State().measurementLength, 7);
}

}  // namespace
}  // namespace photometer::tests
