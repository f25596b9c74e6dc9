#include <cmath>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Runs.h"
#include "procedures/AbsorbanceCriterion.h"
#include "procedures/Kinetics.h"

namespace photometer::tests {
namespace {

using simulator::Sample;

/// Duration in minutes, interval in seconds.
KineticsRequest Request(DWORD dwDuration, DWORD dwInterval, double dWavelength = 500.0) {
  return {RUN_ID, dwDuration, dwInterval, dWavelength, 340.0};
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

TEST(Kinetics, KeepsItsCadence) {
  WorldOptions options = Scheduled(platform::Policy::Random, 1);
  options.board.startTick = 0xFFFF0000;  // the counter wraps in the first minutes
  ReadyDevice device(options);
  device.world.StopTracing();
  device.world.unit.ForgetCommands();
  const MeasureValues values = device.Run(StartOf(Request(43, 13)));
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
  EXPECT_EQ(device.Run(StartOf(Request(1, 30))).size(), 4U) << "a start at the end of the duration is not beyond it";
}

TEST(Kinetics, WithoutIntervalCyclesRunBackToBack) {
  ReadyDevice device;
  device.world.unit.ForgetCommands();
  const MeasureValues values = device.Run(StartOf(Request(1, 0)));
  const std::vector<double> lit = LitTimes(device.world);
  ASSERT_EQ(values.size(), lit.size());
  ASSERT_GT(values.size(), 50U);
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_NEAR(values[i].dWavelength * 60'000.0, lit[i] - lit[0], 2.0);
  }
  EXPECT_GT(values.back().dWavelength, 1.0);
  EXPECT_LE(values[values.size() - 2].dWavelength, 1.0);
}

TEST(Kinetics, MovesFastBehindAWavelengthCheck) {
  ReadyDevice device;
  const WavelengthCheckRequest check{RUN_ID, {360.7}};
  device.Run([&](IPhotometer& photometer) { return photometer.StartWavelengthCheck(&check); });
  EXPECT_EQ(device.Run(StartOf(Request(0, 1, 1100.0))).size(), 2U) << "at the check's speed the move takes 96 s";
}

TEST(Kinetics, SetsAndReadsInThisOrder) {
  struct {
    const char* what;
    double dWavelength;
    bool bUV;
    Texts setUp, cycle, end;
  } const cases[] = {
      {"high power", 360.0, true, {"$r1", "$F1", "$g1", "$M4121"}, {"$h2", "$H1", "$a3", "$H0", "$a3", "$h0"}, {"$r0"}},
      {"no deuterium lamp", 335.0, false, {"$F1", "$g1", "$M3829"}, {"$h1", "$H1", "$a3", "$H0", "$a3", "$h0"}, {}},
      {"deuterium lamp",
       250.0,
       true,
       {"$r2", "$F1", "$g1", "$M2847", "$a3", "$d1", "$a3", "$f7"},
       {"$H1", "$a3", "$H0", "$a3"},
       {"$r0"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    WorldOptions options;
    options.unit.bUV = c.bUV;
    ReadyDevice device(options);
    device->SetCuvetteSize(24);
    const MeasureValues values = device.Run(StartOf(Request(0, 10, c.dWavelength)));
    Texts expected = c.setUp;
    for (const Texts& more : {c.cycle, c.cycle, c.end}) {
      expected.insert(expected.end(), more.begin(), more.end());
    }
    EXPECT_EQ(device.world.Written(), expected);
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
  const MeasureValue blank = device.Run(StartOf(Request(0, 10))).front();
  const simulator::AbsorptionBand band{.centre = 500.0, .absorbance = 1.0, .deviation = 30.0};
  device.world.unit.SetSample(Sample::Kinetics(band, RATE, device.world.board.Now()), device.world.board.Now());
  for (const MeasureValue& value : device.Run(StartOf(Request(3, 5)))) {
    // The first reading is taken within the first second.
    EXPECT_NEAR(Absorbance(value, blank), 1.0 - std::exp(-RATE * value.dWavelength * 60.0), 1.0 * RATE) << value.dwTag;
  }
}

TEST(Kinetics, IntervalExceeded) {
  ReadyDevice device;
  device.ExpectFailure(StartOf(Request(1, 3)),
                       {{.kind = simulator::FaultKind::Late, .letter = 'h', .nth = 3, .delay = 3'500'000},
                        315,
                        "[Kinetics] SetHalogenLamp",
                        1});
  EXPECT_EQ(device.world.LogLines("|    Interval exceeded...   Interval= 3 s   Elapsed Time= 37"), 1U);
}

TEST(Kinetics, CancelledBehindAResult) {
  // In the last cycle, and in the wait for the next one.
  for (const KineticsRequest& request : {Request(0, 10), Request(60, 600)}) {
    ReadyDevice device;
    device.AtValue(2, [&] { EXPECT_EQ(device->CancelMeasurement(), S_OK); });
    const std::uint64_t nStart = device.world.board.Now();
    EXPECT_EQ(device.Run(StartOf(request)).size(), 2U);
    EXPECT_LT(device.world.board.Now() - nStart, 610'000'000U) << "no further interval is waited for";
    EXPECT_EQ(device.Calls("OnNotify"), (Texts{"OnNotify(9, 25, 0)", "OnNotify(9, 18, 100)"}));
    EXPECT_EQ(device.Log("[Kinetics] Measurement has been canceled !").size(), request.m_dwDuration == 0 ? 0U : 1U);
    const Texts log = device.Log();
    EXPECT_EQ(Texts(log.end() - 2, log.end()),
              (Texts{"[Kinetics] Measurement was canceled.", "[Kinetics] Thread closed with iResult= 0"}));
  }
}

}  // namespace
}  // namespace photometer::tests
