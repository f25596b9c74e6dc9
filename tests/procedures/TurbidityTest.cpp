#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Runs.h"
#include "platform/Platform.h"
#include "procedures/Turbidity.h"

namespace photometer::tests {
namespace {

using Texts = std::vector<std::string>;
using simulator::FaultKind;
using simulator::Sample;

constexpr DWORD FINISHED = 17;
constexpr DWORD CANCELLED = 18;
constexpr TurbidityRequest REQUEST{RUN_ID, 31, 32};
const Start TURBIDITY = [](IPhotometer& photometer) { return photometer.StartTurbidityMeasurement(&REQUEST); };

TEST(Turbidity, WireAndRecordsOfARun) {
  ReadyDevice device;
  device->SetCuvetteSize(24);
  device.world.transcript.Clear();
  const MeasureValues values = device.Run(TURBIDITY);
  Texts written = device.world.Written();
  if (written.front() == "$A9") {
    written.erase(written.begin());  // as the start-up leaves it, or not
  }
  EXPECT_EQ(written, (Texts{"$H1", "$T1", "$G0", "$t", "$T3", "$G1", "$t", "$H0"}));
  EXPECT_EQ(device.world.sink.Calls(), (Texts{"OnNotify(9, 25, 0)", "OnResult(9, 2)", "OnNotify(9, 17, 100)"}));
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

TEST(Turbidity, RisesWithTheSamples) {
  ReadyDevice device;
  double dLow = 0.0;
  double dHigh = 0.0;
  for (const double dNtu : {0.0, 1.0, 10.0, 100.0, 500.0, 2000.0}) {
    device.world.unit.SetSample(Sample::Blank().WithTurbidity(dNtu), device.world.board.Now());
    const MeasureValues values = device.Run(TURBIDITY);
    ASSERT_EQ(values.size(), 2U);
    const double dExpected = 200.0 + 400.0 * dNtu;
    EXPECT_NEAR(values[0].dTurbidity, dExpected, 40.0 + 0.002 * dExpected) << dNtu;
    EXPECT_GT(values[0].dTurbidity, dLow);
    if (dNtu <= 500.0) {  // beyond, the sensitive range is at its end
      EXPECT_NEAR(values[1].dTurbidity, 72.0 * dExpected, 40.0 + 0.002 * 72.0 * dExpected) << dNtu;
    }
    EXPECT_GT(values[1].dTurbidity, dHigh);
    dLow = values[0].dTurbidity;
    dHigh = values[1].dTurbidity;
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
    device.world.transcript.Clear();
    const MeasureValues values = device.Run([&](IPhotometer& photometer) {
      const HRESULT result = TURBIDITY(photometer);
      platform::Sleep(c.dwAfter);
      EXPECT_EQ(photometer.CancelMeasurement(), S_OK);
      return result;
    });
    Texts written = device.world.Written();
    std::erase(written, "$A9");
    EXPECT_EQ(written, c.expected);
    EXPECT_TRUE(values.empty());
    EXPECT_EQ(device.world.sink.Calls(), (Texts{"OnNotify(9, 25, 0)", "OnNotify(9, 18, 100)"}));
    EXPECT_EQ(device.world.LogLines("[MeasureTurbidityProc] Measurement was canceled.\n"), 1U);
  }
}

TEST(Turbidity, CancelledAtManyPoints) { ExpectCancellable(TURBIDITY, 150); }

TEST(Turbidity, Failures) {
  struct {
    char letter;
    FaultKind kind;
    LONG iResult;
    const char* command;
  } const cases[] = {
      {'H', FaultKind::Error, 24, "SetShutter"},
      {'T', FaultKind::Error, 184, "SetTurbidityPower"},
      {'G', FaultKind::Silence, 192, "SetTurbidityGain"},
      {'t', FaultKind::Silence, 162, "GetTurbidity"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.command);
    ReadyDevice device;
    device.world.unit.WireFaults().Add({.kind = c.kind, .letter = c.letter, .nth = 1});
    EXPECT_TRUE(device.Run(TURBIDITY).empty());
    const std::string strNumber = std::to_string(c.iResult);
    EXPECT_EQ(device.Errors(), Texts{"OnError(0, " + strNumber + ")"});
    EXPECT_EQ(device.Notified(FINISHED) + device.Notified(CANCELLED), 0U);
    EXPECT_EQ(device.world.LogLines(std::string("[MeasureTurbidity] ") + c.command + " returned " + strNumber + "\n"),
              1U);
    device.ExpectDark();
    EXPECT_EQ(device.Run(TURBIDITY).size(), 2U);
  }
}

TEST(Turbidity, CancelAndErrorAreBothReported) {
  ReadyDevice device;
  device.world.unit.WireFaults().Add({.kind = FaultKind::Silence, .letter = 't', .nth = 1});
  device.Run([&](IPhotometer& photometer) {
    const HRESULT result = TURBIDITY(photometer);
    platform::Sleep(30'000);
    EXPECT_EQ(photometer.CancelMeasurement(), S_OK);
    return result;
  });
  EXPECT_EQ(device.Notified(CANCELLED), 1U);
  EXPECT_EQ(device.Errors(), Texts{"OnError(0, 162)"});
}

TEST(Turbidity, StartIsRefusedUnlessReady) {
  World world;
  Device device(world);
  EXPECT_EQ(device->StartTurbidityMeasurement(&REQUEST), E_FAIL) << "before Initialize";
  EXPECT_EQ(device->StartTurbidityMeasurement(nullptr), E_POINTER);
  ASSERT_TRUE(device.StartUp());
  ASSERT_EQ(device->StartTurbidityMeasurement(&REQUEST), S_OK);
  EXPECT_EQ(device->StartTurbidityMeasurement(&REQUEST), E_FAIL) << "while one runs";
  EXPECT_TRUE(device.WaitUntilNotBusy());
}

TEST(Turbidity, AnyOrderOfEventsAndAnySplitOfTheBytes) {
  const MeasureValues expected = ReadyDevice().Run(TURBIDITY);
  for (std::uint64_t nSeed = 1; nSeed <= 30; ++nSeed) {
    SCOPED_TRACE(nSeed);
    WorldOptions options;
    options.board.seed = nSeed;
    options.board.policy = platform::Policy::Random;
    options.bAtOnce = nSeed % 2 == 0;
    ReadyDevice device(options);
    ExpectSameValues(device.Run(TURBIDITY), expected);
    EXPECT_EQ(device.Notified(FINISHED), 1U);
  }
}

}  // namespace
}  // namespace photometer::tests
