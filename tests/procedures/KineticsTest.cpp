#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Runs.h"
#include "procedures/Kinetics.h"

namespace photometer::tests {
namespace {

using simulator::FaultKind;
using simulator::Sample;

/// Duration in minutes, interval in seconds.
KineticsRequest Request(DWORD dwDuration, DWORD dwInterval, double dWavelength = 500.0) {
  return {RUN_ID, dwDuration, dwInterval, dWavelength, 340.0};
}

Start KineticsOf(const KineticsRequest& request) {
  return [request](IPhotometer& photometer) { return photometer.StartKinetics(&request); };
}

/// When the unit was told to light the halogen lamp, ms.
std::vector<double> LitTimes(const World& world) {
  std::vector<double> times;
  for (const simulator::ReceivedCommand& command : world.unit.Commands()) {
    if (command.strText.starts_with("$h1")) {
      times.push_back(static_cast<double>(command.time) / 1000.0);
    }
  }
  return times;
}

// ---- cadence ----

TEST(Kinetics, KeepsItsCadence) {
  for (const platform::Policy policy : {platform::Policy::FirstCome, platform::Policy::Random}) {
    WorldOptions options = Scheduled(policy, 1);
    options.board.startTick = 0xFFFF0000;  // the counter wraps in the first minutes
    ReadyDevice device(options);
    device.world.StopTracing();
    device.world.unit.ForgetCommands();
    const MeasureValues values = device.Run(KineticsOf(Request(43, 13)));
    ASSERT_EQ(values.size(), 200U) << "the first start beyond 2,580 s is that at 2,587 s";
    const std::vector<double> lit = LitTimes(device.world);
    ASSERT_EQ(lit.size(), values.size());
    for (std::size_t i = 0; i < values.size(); ++i) {
      ASSERT_EQ(values[i].dwTag, i);
      ASSERT_DOUBLE_EQ(values[i].dWavelength, static_cast<double>(i) * 13.0 / 60.0);
      ASSERT_EQ(values[i].dTurbidity, 0.0);
      // A wait may end late, by a millisecond or so; the readings take a quarter of a second.
      ASSERT_NEAR(lit[i] - lit[0], 13'000.0 * static_cast<double>(i), 20.0) << i;
    }
  }
}

TEST(Kinetics, DurationAndInterval) {
  struct {
    const char* what;
    DWORD dwDuration;
    DWORD dwInterval;
    std::size_t nValues;
  } const cases[] = {{"no duration", 0, 10, 2}, {"half a minute apart", 1, 30, 4}, {"beyond the duration", 1, 90, 2}};
  for (const auto& c : cases) {
    EXPECT_EQ(ReadyDevice().Run(KineticsOf(Request(c.dwDuration, c.dwInterval))).size(), c.nValues) << c.what;
  }
}

TEST(Kinetics, WithoutIntervalCyclesRunBackToBack) {
  ReadyDevice device;
  device.world.unit.ForgetCommands();
  const MeasureValues values = device.Run(KineticsOf(Request(1, 0)));
  const std::vector<double> lit = LitTimes(device.world);
  ASSERT_EQ(values.size(), lit.size());
  ASSERT_GT(values.size(), 50U);
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_NEAR(values[i].dWavelength * 60'000.0, lit[i] - lit[0], 2.0);
  }
  EXPECT_GT(values.back().dWavelength, 1.0);
  EXPECT_LE(values[values.size() - 2].dWavelength, 1.0);
}

// ---- what it does ----

TEST(Kinetics, SetsAndReadsInThisOrder) {
  struct {
    const char* what;
    double dWavelength;
    bool bUV;
    Texts setUp, cycle;
  } const cases[] = {
      {"halogen lamp", 500.0, true, {"$r1", "$F2", "$M5785"}, {"$h1", "$H1", "$a3", "$H0", "$a3", "$h0"}},
      {"high power", 360.0, true, {"$r1", "$F1", "$g1", "$M4121"}, {"$h2", "$H1", "$a3", "$H0", "$a3", "$h0"}},
      {"no deuterium lamp", 335.0, false, {"$F1", "$g1", "$M3829"}, {"$h1", "$H1", "$a3", "$H0", "$a3", "$h0"}},
      {"deuterium lamp",
       250.0,
       true,
       {"$r2", "$F1", "$g1", "$M2847", "$a3", "$d1", "$a3", "$f7"},
       {"$H1", "$a3", "$H0", "$a3"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    WorldOptions options;
    options.unit.bUV = c.bUV;
    ReadyDevice device(options);
    device->SetCuvetteSize(24);
    const MeasureValues values = device.Run(KineticsOf(Request(0, 10, c.dWavelength)));
    Texts expected = c.setUp;
    expected.insert(expected.end(), c.cycle.begin(), c.cycle.end());
    expected.insert(expected.end(), c.cycle.begin(), c.cycle.end());
    if (c.bUV) {
      expected.emplace_back("$r0");
    }
    Texts written = device.world.Written();
    if (c.dWavelength == 250.0 && written.back() == "$h0") {
      written.pop_back();  // the start-up may have left it unknown
    }
    EXPECT_EQ(written, expected);
    for (const MeasureValue& value : values) {
      EXPECT_EQ(value.iCuvetteSize, 24);
      EXPECT_NEAR(WavelengthOfPosition(DefaultParameters(), value.dwPosition), c.dWavelength, 0.05);
    }
    EXPECT_EQ(device.Calls("OnNotify"), (Texts{"OnNotify(9, 25, 0)", "OnNotify(9, 17, 100)"}));
    EXPECT_EQ(device.Log("[Kinetics]"),
              (Texts{"[Kinetics] ----->  Thread started.",
                     "[Kinetics] Wavelength= " + std::to_string(static_cast<int>(c.dWavelength)) + ".0",
                     "[Kinetics] Thread closed with iResult= 0"}));
  }
}

TEST(Kinetics, ReactionOfFirstOrder) {
  constexpr double RATE = 0.01;  // 1/s
  ReadyDevice device;
  const MeasureValue blank = device.Run(KineticsOf(Request(0, 10))).front();
  const simulator::AbsorptionBand band{.centre = 500.0, .absorbance = 1.0, .deviation = 30.0};
  device.world.unit.SetSample(Sample::Kinetics(band, RATE, device.world.board.Now()), device.world.board.Now());
  for (const MeasureValue& value : device.Run(KineticsOf(Request(3, 5)))) {
    const double dAbsorbance = -std::log10(value.dValue / value.dValueRef * blank.dValueRef / blank.dValue);
    // The first reading is taken within the first second.
    EXPECT_NEAR(dAbsorbance, 1.0 - std::exp(-RATE * value.dWavelength * 60.0), 1.0 * RATE) << value.dwTag;
  }
}

TEST(Kinetics, ValidatesTheRequest) {
  const double dNaN = std::numeric_limits<double>::quiet_NaN();
  struct {
    double dWavelength, dSwitching;
    HRESULT expected;
  } const cases[] = {
      {190.0, 340.0, S_OK}, {189.9, 340.0, E_INVALIDARG}, {1100.1, 340.0, E_INVALIDARG},   {dNaN, 340.0, E_INVALIDARG},
      {500.0, 0.0, S_OK},   {500.0, dNaN, E_INVALIDARG},  {500.0, HUGE_VAL, E_INVALIDARG},
  };
  for (const auto& c : cases) {
    const KineticsRequest request{RUN_ID, 1, 10, c.dWavelength, c.dSwitching};
    EXPECT_EQ(ValidateKineticsRequest(&request, DefaultParameters()), c.expected)
        << c.dWavelength << " " << c.dSwitching;
  }
  EXPECT_EQ(ValidateKineticsRequest(nullptr, DefaultParameters()), E_POINTER);
}

// ---- failures ----

TEST(Kinetics, Failures) {
  struct {
    const char* what;
    DWORD dwInterval;
    Failure failure;
  } const cases[] = {
      {"interval exceeded",
       3,
       {{.kind = FaultKind::Late, .letter = 'h', .nth = 3, .delay = 3'500'000}, 315, "[Kinetics] SetHalogenLamp", 1}},
      {"filter is silent", 10, {{.kind = FaultKind::Silence, .letter = 'F'}, 2, "[Kinetics] SetFilter"}},
      {"reading", 100, {{.kind = FaultKind::Error, .letter = 'a', .nth = 3}, 132, "[Kinetics] GetADValue", 1}},
      {"lamp on", 10, {{.kind = FaultKind::Error, .letter = 'h', .nth = 3}, 64, "[Kinetics] SetHalogenLamp", 1}},
      {"lamp off", 10, {{.kind = FaultKind::Error, .letter = 'h', .nth = 2}, 64, "[Kinetics] SetHalogenLamp"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ReadyDevice device;
    device.ExpectFailure(KineticsOf(Request(1, c.dwInterval)), c.failure);
    EXPECT_EQ(device.world.LogLines("|    Interval exceeded...   Interval= 3 s   Elapsed Time= 37"),
              c.failure.iResult == 315 ? 1U : 0U);
  }
}

TEST(Kinetics, TakesTenAttemptsForAReading) {
  for (const int iInvalid : {9, 10}) {
    SCOPED_TRACE(iInvalid);
    WorldOptions options;
    options.unit.noiseLevel = 0.0;
    ReadyDevice device(options);
    device.world.unit.SetFaults({.stuckShutter = true});
    int iClosed = 0;
    device.world.ports.beforeWrite = [&](std::string_view bytes) {
      if (bytes == "$H1\r" && ++iClosed == iInvalid + 1) {
        device.world.unit.SetFaults({});
      }
    };
    const bool bFails = iInvalid == 10;
    EXPECT_EQ(device.Run(KineticsOf(Request(0, 60))).size(), bFails ? 0U : 2U);
    EXPECT_EQ(device.Errors(), bFails ? Texts{"OnError(0, 313)"} : Texts{});
    EXPECT_EQ(device.Notified(FINISHED), bFails ? 0U : 1U);
    const Texts log = device.Log();
    EXPECT_EQ(std::ranges::count(log, "[Kinetics] get invalid values..."), iInvalid);
    EXPECT_EQ(std::ranges::count(log, "[Kinetics] Pos= 5785  WL= 0  Value= 0.000  ValueRef= 0.000"), iInvalid);
  }
}

// ---- cancel ----

TEST(Kinetics, CancelledAtManyPoints) { ExpectCancellable(KineticsOf(Request(0, 2)), 200); }

TEST(Kinetics, CancelledInTheLastCycle) {
  ReadyDevice device;
  device.AtValue(2, [&] { EXPECT_EQ(device->CancelMeasurement(), S_OK); });
  EXPECT_EQ(device.Run(KineticsOf(Request(0, 10))).size(), 2U);
  EXPECT_EQ(device.Calls("OnNotify"), (Texts{"OnNotify(9, 25, 0)", "OnNotify(9, 18, 100)"}));
}

TEST(Kinetics, CancelledInTheWait) {
  ReadyDevice device;
  device.AtValue(2, [&] { EXPECT_EQ(device->CancelMeasurement(), S_OK); });
  const std::uint64_t nStart = device.world.board.Now();
  EXPECT_EQ(device.Run(KineticsOf(Request(60, 600))).size(), 2U);
  EXPECT_LT(device.world.board.Now() - nStart, 610'000'000U);
  EXPECT_EQ(device.Calls().back(), "OnNotify(9, 18, 100)");
  EXPECT_TRUE(device.Errors().empty());
  const Texts log = device.Log();
  EXPECT_EQ(Texts(log.end() - 3, log.end()),
            (Texts{"[Kinetics] Measurement has been canceled !", "[Kinetics] Measurement was canceled.",
                   "[Kinetics] Thread closed with iResult= 0"}));
}

TEST(Kinetics, ShutdownInTheWaitIsNoCancel) {
  ReadyDevice device;
  ASSERT_EQ(KineticsOf(Request(60, 600))(*device.operator->()), S_OK);
  platform::Sleep(30'000);
  device->Shutdown();
  EXPECT_EQ(device.world.LogLines("[Kinetics] Thread closed"), 1U);
  EXPECT_EQ(device.world.LogLines("canceled"), 0U);
}

TEST(Kinetics, CancelAndErrorAreBothReported) {
  ReadyDevice device;
  device.world.unit.WireFaults().Add({.kind = FaultKind::Silence, .letter = 'F', .nth = 1});
  device.Run(ThenCancel(KineticsOf(Request(1, 10)), 30'000));
  EXPECT_EQ(device.Calls(), (Texts{"OnNotify(9, 25, 0)", "OnNotify(9, 18, 100)", "OnError(0, 2)"}));
}

TEST(Kinetics, AnyOrderOfEventsAndAnySplitOfTheBytes) { ExpectSameInAnyOrder(KineticsOf(Request(0, 3))); }

}  // namespace
}  // namespace photometer::tests
