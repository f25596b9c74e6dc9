#include <algorithm>
#include <cmath>
#include <limits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Runs.h"
#include "platform/Platform.h"
#include "procedures/Kinetics.h"

namespace photometer::tests {
namespace {

using Texts = std::vector<std::string>;
using simulator::FaultKind;
using simulator::Sample;

constexpr DWORD FINISHED = 17;
constexpr DWORD CANCELLED = 18;
constexpr double SWITCHING_POINT = 340.0;

/// Duration in minutes, interval in seconds.
KineticsRequest Request(DWORD dwDuration, DWORD dwInterval, double dWavelength = 500.0) {
  return {RUN_ID, dwDuration, dwInterval, dWavelength, SWITCHING_POINT};
}

Start KineticsOf(const KineticsRequest& request) {
  return [request](IPhotometer& photometer) { return photometer.StartKinetics(&request); };
}

/// When the unit received the commands that begin with `prefix`, ms.
std::vector<double> Times(const World& world, const std::string& prefix) {
  std::vector<double> times;
  for (const simulator::ReceivedCommand& command : world.unit.Commands()) {
    if (command.strText.starts_with(prefix)) {
      times.push_back(static_cast<double>(command.time) / 1000.0);
    }
  }
  return times;
}

// ---- cadence ----

TEST(Kinetics, KeepsItsCadence) {
  for (const platform::Policy policy : {platform::Policy::FirstCome, platform::Policy::Random}) {
    WorldOptions options;
    options.board.policy = policy;
    options.board.startTick = 0xFFFF0000;  // the counter wraps in the first minutes
    ReadyDevice device(options);
    device.world.StopTracing();
    device.world.unit.ForgetCommands();
    const MeasureValues values = device.Run(KineticsOf(Request(43, 13)));
    ASSERT_EQ(values.size(), 200U) << "the first start beyond 2,580 s is that at 2,587 s";
    for (std::size_t i = 0; i < values.size(); ++i) {
      ASSERT_EQ(values[i].dwTag, i);
      ASSERT_DOUBLE_EQ(values[i].dWavelength, static_cast<double>(i) * 13.0 / 60.0);
      ASSERT_GT(values[i].dValue, 0.0);
      ASSERT_EQ(values[i].dTurbidity, 0.0);
    }
    const std::vector<double> lit = Times(device.world, "$h1");
    ASSERT_EQ(lit.size(), values.size());
    // A wait may end late, by a millisecond or so; the readings take a quarter of a second.
    for (std::size_t i = 1; i < lit.size(); ++i) {
      ASSERT_NEAR(lit[i] - lit[0], 13'000.0 * static_cast<double>(i), 20.0) << i;
    }
    EXPECT_EQ(device.Notified(FINISHED), 1U);
  }
}

TEST(Kinetics, DurationAndInterval) {
  struct {
    const char* what;
    DWORD dwDuration;
    DWORD dwInterval;
    std::vector<double> minutes;
  } const cases[] = {
      {"no duration", 0, 10, {0.0, 10.0 / 60.0}},
      {"half a minute apart", 1, 30, {0.0, 0.5, 1.0, 1.5}},
      {"longer than the duration", 1, 90, {0.0, 1.5}},
  };
  for (const auto& c : cases) {
    ReadyDevice device;
    const MeasureValues values = device.Run(KineticsOf(Request(c.dwDuration, c.dwInterval)));
    ASSERT_EQ(values.size(), c.minutes.size()) << c.what;
    for (std::size_t i = 0; i < values.size(); ++i) {
      EXPECT_DOUBLE_EQ(values[i].dWavelength, c.minutes[i]) << c.what;
    }
  }
}

TEST(Kinetics, WithoutIntervalCyclesRunBackToBack) {
  ReadyDevice device;
  device.world.unit.ForgetCommands();
  const MeasureValues values = device.Run(KineticsOf(Request(1, 0)));
  const std::vector<double> lit = Times(device.world, "$h1");
  ASSERT_EQ(values.size(), lit.size());
  ASSERT_GT(values.size(), 50U);
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_NEAR(values[i].dWavelength * 60'000.0, lit[i] - lit[0], 2.0);
  }
  EXPECT_GT(values.back().dWavelength, 1.0);
  EXPECT_LE(values[values.size() - 2].dWavelength, 1.0);
}

// ---- what goes over the wire ----

TEST(Kinetics, WireOfARun) {
  struct {
    const char* what;
    double dWavelength;
    Texts setUp;
    Texts cycle;
  } const cases[] = {
      {"halogen lamp", 500.0, {"$r1", "$F2", "$M5785"}, {"$h1", "$H1", "$a3", "$H0", "$a3", "$h0"}},
      {"high power", 360.0, {"$r1", "$F1", "$g1", "$M4121"}, {"$h2", "$H1", "$a3", "$H0", "$a3", "$h0"}},
      {"deuterium lamp",
       250.0,
       {"$r2", "$F1", "$g1", "$M2847", "$a3", "$d1", "$a3", "$f7"},
       {"$H1", "$a3", "$H0", "$a3"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ReadyDevice device;
    device.world.transcript.Clear();
    device->SetCuvetteSize(24);
    const MeasureValues values = device.Run(KineticsOf(Request(0, 10, c.dWavelength)));
    Texts expected = c.setUp;
    expected.insert(expected.end(), c.cycle.begin(), c.cycle.end());
    expected.insert(expected.end(), c.cycle.begin(), c.cycle.end());
    expected.emplace_back("$r0");
    Texts written = device.world.Written();
    if (written.back() == "$h0") {
      written.pop_back();  // the start-up may have left it unknown
    }
    EXPECT_EQ(written, expected);
    for (const MeasureValue& value : values) {
      EXPECT_EQ(value.iCuvetteSize, 24);
      EXPECT_NEAR(WavelengthOfPosition(DefaultParameters(), value.dwPosition), c.dWavelength, 0.05);
    }
    EXPECT_EQ(device.world.sink.Calls().front(), "OnNotify(9, 25, 0)");
    EXPECT_EQ(device.world.sink.Calls().back(), "OnNotify(9, 17, 100)");
  }
}

TEST(Kinetics, LinesOfTheLog) {
  ReadyDevice device;
  device.Run(KineticsOf(Request(0, 10)));
  for (const char* line : {"|  [Kinetics] ----->  Thread started.\n", "|  [Kinetics] Wavelength= 500.0\n",
                           "|  [Kinetics] Thread closed with iResult= 0\n"}) {
    EXPECT_EQ(device.world.LogLines(line), 1U) << line;
  }
}

// ---- what goes in comes out ----

/// Slope of y over x.
double Slope(const std::vector<double>& x, const std::vector<double>& y) {
  double sx = 0, sy = 0, sxx = 0, sxy = 0;
  for (std::size_t i = 0; i < x.size(); ++i) {
    sx += x[i], sy += y[i], sxx += x[i] * x[i], sxy += x[i] * y[i];
  }
  const auto n = static_cast<double>(x.size());
  return (n * sxy - sx * sy) / (n * sxx - sx * sx);
}

TEST(Kinetics, ReactionOfFirstOrder) {
  for (const double dRate : {0.005, 0.02}) {
    SCOPED_TRACE(dRate);
    ReadyDevice device;
    const MeasureValue blank = device.Run(KineticsOf(Request(0, 10))).front();
    const simulator::AbsorptionBand band{.centre = 500.0, .absorbance = 1.0, .deviation = 30.0};
    device.world.unit.SetSample(Sample::Kinetics(band, dRate, device.world.board.Now()), device.world.board.Now());
    std::vector<double> seconds;
    std::vector<double> logarithms;
    for (const MeasureValue& value : device.Run(KineticsOf(Request(3, 5)))) {
      const double dAbsorbance = -std::log10(value.dValue / value.dValueRef * blank.dValueRef / blank.dValue);
      if (dAbsorbance < 0.9) {
        seconds.push_back(value.dWavelength * 60.0);
        logarithms.push_back(std::log(1.0 - dAbsorbance));
      }
    }
    ASSERT_GT(seconds.size(), 20U);
    EXPECT_NEAR(Slope(seconds, logarithms), -dRate, 0.01 * dRate);
  }
}

// ---- failures ----

struct FailureCase {
  const char* what;
  simulator::Fault fault;
  DWORD dwInterval;
  LONG iResult;
  const char* command;
  const char* line;
  std::size_t nValues;
};

TEST(Kinetics, Failures) {
  const FailureCase cases[] = {
      {"interval exceeded",
       {.kind = FaultKind::Late, .letter = 'h', .nth = 3, .delay = 3'500'000},
       3,
       315,
       "SetHalogenLamp",
       "  Interval exceeded...   Interval= 3 s   Elapsed Time= 37",
       1},
      {"filter never answers", {.kind = FaultKind::Silence, .letter = 'F'}, 10, 2, "SetFilter", "[Kinetics] Wave", 0},
      {"reading answers error",
       {.kind = FaultKind::Error, .letter = 'a', .nth = 3},
       100,
       132,
       "GetADValue",
       "[Kinetics] Wave",
       1},
      {"lamp answers error",
       {.kind = FaultKind::Error, .letter = 'h', .nth = 3},
       10,
       64,
       "SetHalogenLamp",
       "[Kinetics] Wave",
       1},
  };
  for (const FailureCase& c : cases) {
    SCOPED_TRACE(c.what);
    ReadyDevice device;
    device.world.unit.WireFaults().Add(c.fault);
    EXPECT_EQ(device.Run(KineticsOf(Request(1, c.dwInterval))).size(), c.nValues);
    const std::string strNumber = std::to_string(c.iResult);
    EXPECT_EQ(device.Errors(), Texts{"OnError(0, " + strNumber + ")"});
    EXPECT_EQ(device.Notified(FINISHED) + device.Notified(CANCELLED), 0U);
    EXPECT_EQ(device.world.LogLines(std::string("[Kinetics] ") + c.command + " returned " + strNumber + "\n"), 1U);
    EXPECT_EQ(device.world.LogLines(c.line), 1U);
    device.ExpectDark();
    device.world.unit.WireFaults().Clear();
    EXPECT_EQ(device.Run(KineticsOf(Request(1, 30))).size(), 4U);
    EXPECT_EQ(device.Notified(FINISHED), 1U);
  }
}

TEST(Kinetics, InvalidReadings) {
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
    const MeasureValues values = device.Run(KineticsOf(Request(0, 60)));
    device.world.ports.beforeWrite = nullptr;
    const bool bFails = iInvalid == 10;
    EXPECT_EQ(values.size(), bFails ? 0U : 2U);
    EXPECT_EQ(device.Errors(), bFails ? Texts{"OnError(0, 313)"} : Texts{});
    EXPECT_EQ(device.Notified(FINISHED), bFails ? 0U : 1U);
    EXPECT_EQ(device.world.LogLines("[Kinetics] get invalid values...\n"), static_cast<std::size_t>(iInvalid));
    EXPECT_EQ(device.world.LogLines("  WL= 0  Value= 0.000  ValueRef= 0.000\n"), static_cast<std::size_t>(iInvalid));
  }
}

// ---- cancel ----

TEST(Kinetics, CancelledAtManyPoints) { ExpectCancellable(KineticsOf(Request(0, 2)), 200); }

TEST(Kinetics, CancelledInTheWait) {
  ReadyDevice device;
  device.AtValue(2, [&] { EXPECT_EQ(device->CancelMeasurement(), S_OK); });
  const std::uint64_t nStart = device.world.board.Now();
  EXPECT_EQ(device.Run(KineticsOf(Request(60, 600))).size(), 2U);
  EXPECT_LT(device.world.board.Now() - nStart, 610'000'000U);
  EXPECT_EQ(device.Notified(CANCELLED), 1U);
  EXPECT_TRUE(device.Errors().empty());
  EXPECT_EQ(device.world.LogLines("[Kinetics] Measurement has been canceled !\n"), 1U);
  EXPECT_EQ(device.world.LogLines("[Kinetics] Measurement was canceled.\n"), 1U);
  EXPECT_EQ(device.world.LogLines("[Kinetics] Thread closed with iResult= 0\n"), 1U);
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
  const Start start = KineticsOf(Request(1, 10));
  device.Run([&](IPhotometer& photometer) {
    const HRESULT result = start(photometer);
    platform::Sleep(30'000);
    EXPECT_EQ(photometer.CancelMeasurement(), S_OK);
    return result;
  });
  EXPECT_EQ(device.Notified(CANCELLED), 1U);
  EXPECT_EQ(device.Errors(), Texts{"OnError(0, 2)"});
  EXPECT_EQ(device.Notified(FINISHED), 0U);
}

// ---- the start, and any order of events ----

TEST(Kinetics, StartAndValidation) {
  const double dNaN = std::numeric_limits<double>::quiet_NaN();
  struct {
    bool bUV;
    double dWavelength;
    double dSwitching;
    HRESULT expected;
  } const cases[] = {
      {true, 190.0, 340.0, S_OK},
      {true, 189.9, 340.0, E_INVALIDARG},
      {true, 1100.0, 340.0, S_OK},
      {true, 1100.1, 340.0, E_INVALIDARG},
      {false, 330.0, 340.0, S_OK},
      {false, 329.9, 340.0, E_INVALIDARG},
      {true, dNaN, 340.0, E_INVALIDARG},
      {true, 500.0, dNaN, E_INVALIDARG},
      {true, 500.0, 0.0, S_OK},
      {true, 500.0, HUGE_VAL, E_INVALIDARG},
      {true, HUGE_VAL, 0.0, E_INVALIDARG},
  };
  PhotometerParameters params = DefaultParameters();
  for (const auto& c : cases) {
    params.bUV = c.bUV ? TRUE : FALSE;
    const KineticsRequest request{RUN_ID, 1, 10, c.dWavelength, c.dSwitching};
    EXPECT_EQ(ValidateKineticsRequest(&request, params), c.expected) << c.dWavelength << ", " << c.dSwitching;
  }
  World world;
  Device device(world);
  const KineticsRequest request = Request(0, 10);
  EXPECT_EQ(device->StartKinetics(nullptr), E_POINTER);
  ASSERT_TRUE(device.StartUp());
  ASSERT_EQ(device->StartKinetics(&request), S_OK);
  EXPECT_EQ(device->StartKinetics(&request), E_FAIL) << "while one runs";
  EXPECT_TRUE(device.WaitUntilNotBusy());
  device->Shutdown();
  EXPECT_EQ(device->StartKinetics(&request), E_FAIL) << "after Shutdown";
}

TEST(Kinetics, AnyOrderOfEventsAndAnySplitOfTheBytes) {
  const MeasureValues expected = ReadyDevice().Run(KineticsOf(Request(0, 3)));
  for (std::uint64_t nSeed = 1; nSeed <= 30; ++nSeed) {
    SCOPED_TRACE(nSeed);
    WorldOptions options;
    options.board.seed = options.unit.seed = nSeed;
    options.board.policy = platform::Policy::Random;
    options.bAtOnce = nSeed % 2 == 0;
    ReadyDevice device(options);
    ExpectSameValues(device.Run(KineticsOf(Request(0, 3))), expected);
    EXPECT_EQ(device.Notified(FINISHED), 1U);
  }
}

}  // namespace
}  // namespace photometer::tests
