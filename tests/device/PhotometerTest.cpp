#include <algorithm>
#include <functional>
#include <limits>
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
      {"CancelMeasurement", [](P& p) { return p.CancelMeasurement(); }, E_FAIL, E_FAIL},
      {"SetCalibrations(null)", [](P& p) { return p.SetWavelengthCalibrations(nullptr); }, E_POINTER, E_POINTER},
      {"SetCalibrations", [](P& p) { return p.SetWavelengthCalibrations(&entries); }, E_FAIL, 0},
      {"GetCalibration(null)", [](P& p) { return p.GetWavelengthCalibration(500.0, nullptr); }, E_POINTER, E_POINTER},
      {"GetCalibration", [](P& p) { return p.GetWavelengthCalibration(500.0, &entry); }, E_FAIL, 0},
      {"WriteOpticalPort(null)", [](P& p) { return p.WriteOpticalPort(nullptr, 3); }, E_POINTER, E_POINTER},
      {"WriteOpticalPort", [](P& p) { return p.WriteOpticalPort(command, 3); }, 0, 0},
      {"WriteExternalPort", [](P& p) { return p.WriteExternalPort(nullptr, 0); }, 0, 0},
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

TEST(Photometer, AChangedModeForgetsThePump) {
  Bench b;
  b.device->SetOperatingMode(1);
  b.device->SetSipperDetected(TRUE);
  b.device->SetOperatingMode(1);
  EXPECT_TRUE(b.device->GetStatus().bSipperDetected);
  b.device->SetOperatingMode(2);
  EXPECT_FALSE(b.device->GetStatus().bSipperDetected);
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

using Start = std::function<HRESULT(IPhotometer&)>;

template <class Request>
Start Starting(HRESULT (IPhotometer::*pStart)(const Request*), const Request& request) {
  return [=](IPhotometer& photometer) { return (photometer.*pStart)(&request); };
}

TEST(Photometer, StartIsRefusedUnlessReady) {
  using P = IPhotometer;
  struct {
    Start start;
    /// Before the first `Initialize`, when no wavelength can be measured, and later.
    HRESULT before, refused;
  } const cases[] = {
      {Starting(&P::StartMeasure, MeasureAt({500.0})), E_INVALIDARG, E_FAIL},
      {Starting(&P::StartScan, {9, 500.0, 502.0, 340.0, 0, FALSE, FALSE}), E_INVALIDARG, E_ACCESSDENIED},
      {Starting(&P::StartKinetics, {9, 0, 0, 500.0, 340.0}), E_INVALIDARG, E_FAIL},
      {Starting(&P::StartTurbidityMeasurement, {9, 1, 2}), E_FAIL, E_FAIL},
      {Starting(&P::StartWavelengthCheck, {9, {537.0}}), E_INVALIDARG, E_FAIL},
      {Starting(&P::StartHolmiumOxideScan, {9, 6000, 6040}), E_FAIL, E_FAIL},
      {Starting(&P::StartSystemCheck, {9, 360.7, 0.0}), E_FAIL, E_FAIL},
      {[](P& photometer) { return photometer.StartWaveLengthTest(); }, E_FAIL, E_FAIL},
  };
  int iCase = 0;
  for (const auto& c : cases) {
    SCOPED_TRACE(iCase++);
    Bench b;
    P& photometer = *b.device.operator->();
    EXPECT_EQ(c.start(photometer), c.before) << "before Initialize";
    ASSERT_EQ(b.device.Initialize(), S_OK);
    EXPECT_EQ(c.start(photometer), c.refused) << "during the start-up";
    ASSERT_TRUE(b.device.WaitUntilNotBusy());
    b.world.kernel.threads.Start(1);
    EXPECT_EQ(c.start(photometer), E_FAIL) << "without a thread";
    EXPECT_FALSE(b.device->GetStatus().bBusy);
    EXPECT_EQ(c.start(photometer), S_OK);
    EXPECT_TRUE(b.device->GetStatus().bBusy);
    EXPECT_EQ(c.start(photometer), c.refused) << "while one runs";
    EXPECT_TRUE(b.device.WaitUntilNotBusy());
    b.device->Shutdown();
    EXPECT_EQ(c.start(photometer), c.refused) << "after Shutdown";
  }
}

TEST(Photometer, UnsoundRequestsAreRefused) {
  using P = IPhotometer;
  constexpr double NOT_A_NUMBER = std::numeric_limits<double>::quiet_NaN();
  const Start starts[] = {
      Starting(&P::StartMeasure, MeasureAt({500.0, 189.9})),
      Starting(&P::StartScan, {9, 502.0, 500.0, 340.0, 0, FALSE, FALSE}),
      Starting(&P::StartKinetics, {9, 0, 0, 1100.1, 340.0}),
      Starting(&P::StartKinetics, {9, 0, 0, 500.0, std::numeric_limits<double>::infinity()}),
      Starting(&P::StartWavelengthCheck, {9, {537.0, 1100.01}}),
      Starting(&P::StartHolmiumOxideScan, {9, 5000, 15001}),
      Starting(&P::StartSystemCheck, {9, NOT_A_NUMBER, 0.0}),
  };
  Bench b;
  ASSERT_TRUE(b.device.StartUp());
  for (const Start& start : starts) {
    EXPECT_EQ(start(*b.device.operator->()), E_INVALIDARG);
  }
  EXPECT_EQ(b.device->StartMeasure(nullptr), E_POINTER);
  EXPECT_EQ(b.device->StartScan(nullptr), E_POINTER);
  EXPECT_EQ(b.device->StartKinetics(nullptr), E_POINTER);
  EXPECT_EQ(b.device->StartTurbidityMeasurement(nullptr), E_POINTER);
  EXPECT_EQ(b.device->StartWavelengthCheck(nullptr), E_POINTER);
  EXPECT_EQ(b.device->StartHolmiumOxideScan(nullptr), E_POINTER);
  EXPECT_EQ(b.device->StartSystemCheck(nullptr), E_POINTER);
  EXPECT_FALSE(b.device->GetStatus().bBusy);
}

TEST(Photometer, CancelIsNeverLostAndNeverOutlivesItsRun) {
  Bench b;
  ASSERT_TRUE(b.device.StartUp());
  for (const bool bCancel : {true, false}) {
    ASSERT_EQ(b.StartMeasure({500.0, 600.0, 700.0}), S_OK);
    for (int i = 0; bCancel && i < 2; ++i) {
      EXPECT_EQ(b.device->CancelMeasurement(), S_OK);
    }
    ASSERT_TRUE(b.device.WaitUntilNotBusy());
    EXPECT_EQ(b.world.sink.Count("OnNotify(7, 18, 100)"), 1U);
    EXPECT_EQ(b.world.sink.Count("OnNotify(7, 17, 100)"), bCancel ? 0U : 1U);
    EXPECT_EQ(b.device->CancelMeasurement(), E_FAIL);
  }
  EXPECT_EQ(b.world.LogLines("[Photometer] Cancel measurement ....\n"), 2U);
}

// ---- raw writes ----

TEST(Photometer, RawWritesOfTheHost) {
  Bench b;
  ASSERT_EQ(b.device.Initialize(), S_OK);
  EXPECT_EQ(b.Write("$i7\r"), E_FAIL) << "the start-up owns the unit";
  ASSERT_TRUE(b.device.WaitUntilNotBusy());
  const Commands during = b.world.Written();
  EXPECT_EQ(std::count(during.begin(), during.end(), "$i7"), 0);
  EXPECT_EQ(b.Write("$i7\r"), S_OK);
  Sleep(100);
  EXPECT_EQ(b.world.unit.State().measurementLength, 7);
}

}  // namespace
}  // namespace photometer::tests
