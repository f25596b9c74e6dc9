#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "Runs.h"
#include "procedures/Turbidity.h"

namespace photometer::tests {
namespace {

using simulator::FaultKind;
using simulator::Sample;

constexpr TurbidityRequest REQUEST{RUN_ID, 31, 32};
const Start TURBIDITY = [](IPhotometer& photometer) { return photometer.StartTurbidityMeasurement(&REQUEST); };

/// What the run wrote, without the converter's speed: the start-up leaves it, or not.
Texts Written(const ReadyDevice& device) {
  Texts written = device.world.Written();
  std::erase(written, "$A9");
  return written;
}

TEST(Turbidity, SetsAndReadsInThisOrder) {
  ReadyDevice device;
  device->SetCuvetteSize(24);
  const MeasureValues values = device.Run(TURBIDITY);
  EXPECT_EQ(Written(device), (Texts{"$H1", "$T1", "$G0", "$t", "$T3", "$G1", "$t", "$H0"}));
  EXPECT_EQ(device.Calls(), (Texts{"OnNotify(9, 25, 0)", "OnResult(9, 2)", "OnNotify(9, 17, 100)"}));
  ASSERT_EQ(values.size(), 2U);
  for (std::size_t i = 0; i < 2; ++i) {
    EXPECT_EQ(values[i].dwTag, 31 + i);
    EXPECT_EQ(values[i].dwPosition, 0U);
    EXPECT_EQ(values[i].dWavelength, 860.0);
    EXPECT_EQ(values[i].dValue, 1.0);
    EXPECT_EQ(values[i].dValueRef, 1.0);
    EXPECT_EQ(values[i].iCuvetteSize, 0);
  }
  EXPECT_EQ(device.world.unit.State().turbidityPower, 3) << "it stays so";
}

TEST(Turbidity, IsTheSamples) {
  ReadyDevice device;
  for (const double dNtu : {0.0, 1.0, 10.0, 100.0, 500.0}) {
    device.world.unit.SetSample(Sample::Blank().WithTurbidity(dNtu), device.world.board.Now());
    const MeasureValues values = device.Run(TURBIDITY);
    ASSERT_EQ(values.size(), 2U);
    const double dLow = 200.0 + 400.0 * dNtu;
    EXPECT_NEAR(values[0].dTurbidity, dLow, 40.0 + 0.002 * dLow) << dNtu;
    EXPECT_NEAR(values[1].dTurbidity, 72.0 * dLow, 40.0 + 0.002 * 72.0 * dLow) << dNtu;
  }
}

TEST(Turbidity, CancelIsSeenAtItsPlaces) {
  // ms after the start, and what is still written.
  struct {
    DWORD dwAfter;
    Texts expected;
  } const cases[] = {
      {100, {"$H1", "$T1", "$G0"}},
      {700, {"$H1", "$T1", "$G0"}},
      {900, {"$H1", "$T1", "$G0", "$t", "$T3", "$G1"}},
      {1100, {"$H1", "$T1", "$G0", "$t", "$T3", "$G1"}},
      {1400, {"$H1", "$T1", "$G0", "$t", "$T3", "$G1", "$t", "$H0"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.dwAfter);
    ReadyDevice device;
    EXPECT_TRUE(device.Run(ThenCancel(TURBIDITY, c.dwAfter)).empty());
    EXPECT_EQ(Written(device), c.expected);
    EXPECT_EQ(device.Calls(), (Texts{"OnNotify(9, 25, 0)", "OnNotify(9, 18, 100)"}));
    const Texts log = device.Log();
    EXPECT_EQ(std::ranges::count(log, "[MeasureTurbidityProc] Measurement was canceled."), 1);
  }
}

TEST(Turbidity, CancelledAtManyPoints) { ExpectCancellable(TURBIDITY, 150); }

TEST(Turbidity, Failures) {
  const Failure cases[] = {
      {{.kind = FaultKind::Error, .letter = 'H', .nth = 1}, 24, "[MeasureTurbidity] SetShutter"},
      {{.kind = FaultKind::Error, .letter = 'T', .nth = 1}, 184, "[MeasureTurbidity] SetTurbidityPower"},
      {{.kind = FaultKind::Silence, .letter = 'G', .nth = 1}, 192, "[MeasureTurbidity] SetTurbidityGain"},
      {{.kind = FaultKind::Silence, .letter = 't', .nth = 1}, 162, "[MeasureTurbidity] GetTurbidity"},
  };
  for (const Failure& failure : cases) {
    SCOPED_TRACE(failure.strRecord);
    ReadyDevice().ExpectFailure(TURBIDITY, failure);
  }
}

TEST(Turbidity, CancelAndErrorAreBothReported) {
  ReadyDevice device;
  device.world.unit.WireFaults().Add({.kind = FaultKind::Silence, .letter = 't', .nth = 1});
  device.Run(ThenCancel(TURBIDITY, 30'000));
  EXPECT_EQ(device.Calls(), (Texts{"OnNotify(9, 25, 0)", "OnNotify(9, 18, 100)", "OnError(0, 162)"}));
}

TEST(Turbidity, StartIsRefusedUnlessReady) {
  World world;
  Device device(world);
  EXPECT_EQ(device->StartTurbidityMeasurement(&REQUEST), E_FAIL) << "before Initialize";
  EXPECT_EQ(device->StartTurbidityMeasurement(nullptr), E_POINTER);
}

TEST(Turbidity, AnyOrderOfEventsAndAnySplitOfTheBytes) { ExpectSameInAnyOrder(TURBIDITY); }

}  // namespace
}  // namespace photometer::tests
