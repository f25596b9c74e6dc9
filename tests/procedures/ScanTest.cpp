#include <algorithm>
#include <cmath>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "Runs.h"
#include "procedures/AbsorbanceCriterion.h"
#include "procedures/Scan.h"

namespace photometer::tests {
namespace {

using simulator::FaultKind;
using simulator::Sample;

ScanRequest Request(double dStart, double dEnd, bool bCoarse = false, bool bTurbidity = false) {
  return {RUN_ID, dStart, dEnd, 340.0, 0, bCoarse ? TRUE : FALSE, bTurbidity ? TRUE : FALSE};
}

/// Two segments: 60 points with the lower filter, up to 375 nm, and 62 with the next.
constexpr std::size_t FIRST_POINTS = 60;
constexpr std::size_t BOTH_POINTS = 122;
const ScanRequest ACROSS_A_FILTER = Request(370, 380);

/// Those of the table from the one on to which the first command moves.
void ExpectPositionsOfTheTable(const MeasureValues& values, const std::string& move, DWORD dwStep) {
  auto dwPosition = static_cast<DWORD>(std::stoul(move.substr(2)));
  for (const MeasureValue& value : values) {
    ASSERT_EQ(value.dwPosition, dwPosition);
    ASSERT_EQ(value.dWavelength, WavelengthOfPosition(DefaultParameters(), dwPosition));
    ASSERT_EQ(value.dwTag, RUN_ID);
    ASSERT_EQ(value.dTurbidity, -1.0);
    dwPosition += dwStep;
  }
}

/// Whether half a second or more passed before each scan command.
std::vector<bool> Pauses(const ReadyDevice& device) {
  std::vector<bool> pauses;
  const auto& commands = device.world.unit.Commands();
  for (std::size_t i = 1; i < commands.size(); ++i) {
    if (commands[i].strText.starts_with("$s")) {
      pauses.push_back(commands[i].time - commands[i - 1].time >= 500'000);
    }
  }
  return pauses;
}

// ---- what it does ----

TEST(Scan, SetsAndStreamsInThisOrder) {
  struct {
    ScanRequest request;
    std::size_t nPoints;
    std::vector<bool> pauses;
    Texts expected;
  } const cases[] = {
      {Request(190, 1100),
       12023,
       {false, false, false, false, false, true, true},
       {"$M2161", "$S2400",                                                                 // to the start
        "$r2",    "$S50",   "$M2504", "$a3", "$d1", "$a3",                                  // deuterium lamp
        "$f7",    "$M2161", "$S2400",                                                       // and back
        "$F0",    "$g1",    "$H1",    "$a3", "$H0", "$A5",     "$s3888",                    // to 340 nm
        "$r1",    "$h2",    "$F1",    "$A9", "$H1", "$a3",     "$H0",     "$A5", "$s4298",  // to 375 nm
        "$h1",    "$F2",    "$g0",    "$A9", "$H1", "$a3",     "$H0",     "$A5", "$s5185",  // to 450 nm
        "$A9",    "$H1",    "$a3",    "$H0", "$A5", "$s6395",                               // to 550 nm
        "$F3",    "$A9",    "$H1",    "$a3", "$H0", "$A5",     "$s11019",                   // to 900 nm
        "$A9",    "$H1",    "$a3",    "$H0", "$A5", "$s12525",                              // to 1000 nm
        "$A9",    "$H1",    "$a3",    "$H0", "$A5", "$s14184",                              // to 1100 nm
        "$r0",    "$h0"}},
      {Request(370, 380, true), 16, {false, false}, {"$M4238", "$S240", "$i10",  //
                                                     "$r1",    "$h2",   "$F1",    "$g1", "$H1", "$a3",
                                                     "$H0",    "$A5",   "$s4298",  //
                                                     "$h1",    "$F2",   "$g0",    "$A9", "$H1", "$a3",
                                                     "$H0",    "$A5",   "$s4398", "$r0", "$h0"}},
  };
  for (const auto& c : cases) {
    ReadyDevice device;
    device.world.unit.ForgetCommands();
    const MeasureValues values = device.Run(StartOf(c.request));
    EXPECT_EQ(device.world.Written(), c.expected);
    EXPECT_EQ(Pauses(device), c.pauses) << "before the infrared segments";
    ASSERT_EQ(values.size(), c.nPoints);
    ExpectPositionsOfTheTable(values, c.expected.front(), c.request.m_bStep1nm ? 10 : 1);
    EXPECT_LE(values.front().dWavelength, c.request.m_dStartWavelength);
    EXPECT_GE(values.back().dWavelength, c.request.m_dEndWavelength);
    EXPECT_EQ(device.Calls("OnNotify"), (Texts{"OnNotify(9, 25, 0)", "OnNotify(9, 17, 100)"}));
  }
}

TEST(Scan, LinesOfTheLogAndTheDebugOutput) {
  ReadyDevice device;
  device.Run(StartOf(ACROSS_A_FILTER));
  EXPECT_EQ(device.world.transcript.Texts("debug"),
            (Texts{"[Scan] ----->  Thread started.", "Pump not in use !", "[Scan] >>>>>>>>>>>>>>>>>>>>",
                   "[Scan] [0] Expected= 60, Lamp= 1, Filter= 1, dwOffset= 0",
                   "[Scan] [0] bGain= TRUE, bHalogenHighPower= TRUE", "[Scan] [0] Command: [$s4298]",
                   "[Scan] CMD: $s4298 (exp 60 pts)", "[Scan] set ADSpeed to 5", "[Scan] >>>>>>>>>>>>>>>>>>>>",
                   "[Scan] [1] Expected= 62, Lamp= 1, Filter= 2, dwOffset= 60",
                   "[Scan] [1] bGain= FALSE, bHalogenHighPower= FALSE", "[Scan] [1] Command: [$s4360]",
                   "[Scan] CMD: $s4360 (exp 62 pts)", "[Scan] set ADSpeed to 5",
                   "[Scan]  Exit: iResult= 0, bCancel= FALSE", "[Scan] Thread closed with iResult= 0"}));
  EXPECT_EQ(device.Log(), (Texts{"[Scan] ----->  Thread started.", "[Scan] Thread closed with iResult= 0"}));
}

TEST(Scan, ValuesThatAreNotPositiveBecomeOne) {
  WorldOptions options;
  options.unit.noiseLevel = options.unit.strayLight = 0.0;
  ReadyDevice device(options);
  device.world.unit.SetSample(Sample::NeutralGlass(12.0), device.world.board.Now());
  for (const MeasureValue& value : device.Run(StartOf(ACROSS_A_FILTER))) {
    ASSERT_EQ(value.dValue, 1.0);
    ASSERT_GT(value.dValueRef, 100'000.0);
  }
}

TEST(Scan, TurbidityFollowsTheLastSegment) {
  ReadyDevice device;
  device.world.unit.SetSample(Sample::Blank().WithTurbidity(10.0), device.world.board.Now());
  device->SetCuvetteSize(50);
  device.AtValue(3, [&] { device->SetCuvetteSize(10); });
  const MeasureValues values = device.Run(StartOf(Request(370, 380, false, true)));
  const Texts written = device.world.Written();
  EXPECT_EQ(std::ranges::count(written, "$t"), 2);
  EXPECT_EQ(Texts(std::ranges::find(written, "$s4360"), written.end()),
            (Texts{"$s4360", "$A9", "$H1", "$T1", "$G0", "$t", "$T3", "$G1", "$t", "$H0", "$r0", "$h0"}));
  ASSERT_EQ(values.size(), BOTH_POINTS + 2);
  for (const MeasureValue& value : values) {
    ASSERT_EQ(value.iCuvetteSize, 50) << "that of the start";
  }
  for (DWORD dwTag = 1; dwTag <= 2; ++dwTag) {
    const MeasureValue& value = values[BOTH_POINTS - 1 + dwTag];
    EXPECT_EQ(value.dwTag, dwTag);
    EXPECT_EQ(value.dwPosition, values[BOTH_POINTS - 1].dwPosition);
    EXPECT_EQ(value.dWavelength, 860.0);
    EXPECT_EQ(value.dValue, 1.0);
    EXPECT_EQ(value.dValueRef, 1.0);
    EXPECT_NEAR(value.dTurbidity, (dwTag == 1 ? 1.0 : 72.0) * 4200.0, 20.0 * (dwTag == 1 ? 1 : 72));
  }
}

// ---- what goes in comes out ----

TEST(Scan, SpectrumIsTheSamples) {
  constexpr int RUNS = 4;
  constexpr double EDGES[] = {340, 375, 450, 550, 900, 1000};  // where lamp or filter change, nm
  double dBias = 0.0;
  for (int iSeed = 1; iSeed <= RUNS; ++iSeed) {
    SCOPED_TRACE(iSeed);
    WorldOptions options;
    options.unit.seed = static_cast<std::uint64_t>(iSeed);
    options.unit.positionOffset = iSeed - 3;
    ReadyDevice device(options);
    const MeasureValues blank = device.Run(StartOf(Request(200, 1090)));
    const Sample sample = Sample::Bands({{260, 0.8, 20}, {360, 0.5, 10}, {525, 1.0, 30}, {950, 0.4, 40}});
    device.world.unit.SetSample(sample, device.world.board.Now());
    const MeasureValues values = device.Run(StartOf(Request(200, 1090)));
    ASSERT_EQ(blank.size(), values.size());
    AbsorbanceCriterion criterion;
    for (std::size_t i = 0; i < blank.size(); ++i) {
      const double wl = blank[i].dWavelength;
      if (std::ranges::none_of(EDGES, [=](double d) { return std::fabs(wl - d) < 0.5; })) {
        AddAbsorbance(device.world, values[i], blank[i], 1.0, &criterion);
      }
    }
    EXPECT_GT(criterion.Points(), 11500);
    EXPECT_TRUE(criterion.HoldsButForBias()) << criterion.Text();
    dBias += criterion.Bias() / RUNS;
  }
  // All points of a segment share its dark value, whose noise is a fifth of a point's: the runs scatter by that much.
  EXPECT_LT(std::fabs(dBias), 0.1);
}

// ---- failures ----

TEST(Scan, BytesBehindTheLastPoint) {
  struct {
    simulator::Fault fault;
    /// By which the run of two streams takes longer, s: their ends are waited for for 2 s, and owed for 10 s.
    double dLonger;
  } const cases[] = {{{.kind = FaultKind::LateTrailer, .letter = 's', .delay = 3'000}, 0.0},
                     {{.kind = FaultKind::LateTrailer, .letter = 's', .delay = 1'900'000}, 3.8},
                     {{.kind = FaultKind::NoTrailer, .letter = 's'}, 24.0}};
  double dUndisturbed = 0.0;
  for (const auto& c : cases) {
    ReadyDevice device;
    device.world.unit.WireFaults().Add(c.fault);
    const std::uint64_t nStart = device.world.board.Now();
    EXPECT_EQ(device.Run(StartOf(ACROSS_A_FILTER)).size(), BOTH_POINTS);
    EXPECT_EQ(device.Notified(FINISHED), 1U);
    const double dTook = static_cast<double>(device.world.board.Now() - nStart) / 1e6;
    dUndisturbed = c.dLonger == 0.0 ? dTook : dUndisturbed;
    EXPECT_NEAR(dTook - dUndisturbed, c.dLonger, 0.3);
  }
}

/// Befalls the second scan command.
std::function<void(ReadyDevice&)> InTheSecond(simulator::Fault fault) {
  fault.letter = 's';
  fault.nth = 2;
  return [fault](ReadyDevice& device) { device.world.unit.WireFaults().Add(fault); };
}

void AnswersErrorInTheMiddle(ReadyDevice& device) {
  device.AtValue(90, [&] { device.world.unit.EmitUnasked("error\r\n", device.world.board.Now()); });
}

void CannotBeWritten(ReadyDevice& device) {
  device.world.ports.beforeWrite = [&ports = device.world.ports](std::string_view bytes) {
    if (bytes.starts_with("$s4360")) {
      ports.writes.Start(1);
    }
  };
}

void PortVanishes(ReadyDevice& device) {
  device.AtValue(90, [&] { device.world.board.UnplugPort(World::PORT); });
}

TEST(Scan, BrokenStreams) {
  struct {
    const char* what;
    /// Breaks the second segment.
    std::function<void(ReadyDevice&)> prepare;
    LONG iResult;
    const char* line;
    /// Points of both segments that the host gets.
    std::size_t nLowest, nHighest;
  } const cases[] = {
      {"no answer", InTheSecond({.kind = FaultKind::Silence}), 322, "[Scan] Timeout: received 0 pts, 62 expected",
       FIRST_POINTS, FIRST_POINTS},
      {"loses a point", InTheSecond({.kind = FaultKind::Lost, .count = 6, .first = 30}), 322,
       "[Scan] Timeout: received 61 pts, 62 expected", BOTH_POINTS - 1, BOTH_POINTS - 1},
      {"one point too many", InTheSecond({.kind = FaultKind::SurplusPoints, .count = 1}), 323,
       "[Scan] Too much data: ", BOTH_POINTS - 2, BOTH_POINTS - 1},
      {"answers error in the middle", AnswersErrorInTheMiddle, 324, "[Scan] received 'error' ", 90, 95},
      {"cannot be written", CannotBeWritten, 325, "[ScanProc] ", FIRST_POINTS, FIRST_POINTS},
      {"port vanishes", PortVanishes, 322, "[Scan] Timeout: received ", 90, 95},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ReadyDevice device(Scheduled(platform::Policy::Random, 1));
    const MeasureValues expected = device.Run(StartOf(ACROSS_A_FILTER));
    c.prepare(device);
    const std::size_t nValues = device.Run(StartOf(ACROSS_A_FILTER)).size();
    EXPECT_GE(nValues, c.nLowest);
    EXPECT_LE(nValues, c.nHighest);
    const std::string strNumber = std::to_string(c.iResult);
    EXPECT_EQ(device.Errors(), Texts{"OnError(0, " + strNumber + ")"});
    EXPECT_EQ(device.Notified(FINISHED) + device.Notified(CANCELLED), 0U);
    EXPECT_EQ(device.Log(c.line).size(), 1U);
    EXPECT_EQ(device.Log("[ScanProc] "), Texts{"[ScanProc] SetADSpeed returned " + strNumber});
    EXPECT_EQ(device.Log().back(), "[Scan] Thread closed with iResult= " + strNumber);
    device.world.unit.WireFaults().Clear();
    device.world.ports.beforeWrite = nullptr;
    device.world.Plug();
    device.Restart();
    ExpectSameValues(device.Run(StartOf(ACROSS_A_FILTER)), expected);
    EXPECT_EQ(device.Notified(FINISHED), 1U);
  }
}

// ---- cancel ----

TEST(Scan, CancelledWhileTheStreamRuns) {
  struct {
    const char* what;
    std::size_t nCancelled, nPoints;
  } const cases[] = {{"first segment", 10, FIRST_POINTS}, {"last segment", 100, BOTH_POINTS}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    ReadyDevice device;
    device.AtValue(c.nCancelled, [&] { EXPECT_EQ(device->CancelMeasurement(), S_OK); });
    EXPECT_EQ(device.Run(StartOf(Request(370, 380, false, true))).size(), c.nPoints);
    EXPECT_EQ(device.Calls("OnNotify"), (Texts{"OnNotify(9, 25, 0)", "OnNotify(9, 18, 100)"}));
    EXPECT_TRUE(device.Errors().empty());
    const Texts log = device.Log();
    EXPECT_EQ(Texts(log.end() - 4, log.end()),
              (Texts{"[Scan] Scan has been canceled !", "[ScanProc] SetADSpeed returned 326",
                     "[Scan] Canceled by user... iResult= 326", "[Scan] Thread closed with iResult= 0"}));
    EXPECT_EQ(device.Run(StartOf(ACROSS_A_FILTER)).size(), BOTH_POINTS);
    EXPECT_EQ(device.world.Written()[1], "$M4238") << "where a cancelled scan stands does not count";
    const HolmiumOxideScanRequest fromZero{RUN_ID, 0, 10};
    device.Run([&](IPhotometer& photometer) { return photometer.StartHolmiumOxideScan(&fromZero); });
    EXPECT_TRUE(std::ranges::count(device.world.Written(), "$M0")) << "where a cancelled scan stands does not count";
  }
}

// ---- start ----

TEST(Scan, StartIsRefusedWhereTheTableTurns) {
  World world;
  Device device(world);
  // From 599.942 nm on it still rises to 600 nm; a step below it, the nearest position is behind the turn.
  const ScanRequest request = Request(599.942, 600.0);
  PhotometerParameters params = DefaultParameters();
  params.dA = 0.0;
  params.dB = -1e4;
  params.dC = 160'006'000.0;
  params.dD = -639'448'000'900.0;
  const CalibrationData calibration = DefaultCalibration();
  ASSERT_EQ(device->Initialize(&params, &calibration), S_OK);
  EXPECT_TRUE(device.WaitUntilNotBusy());
  EXPECT_EQ(device->StartScan(&request), E_INVALIDARG);
  device->Shutdown();
  EXPECT_EQ(device->StartScan(&request), E_ACCESSDENIED) << "the table is gone";
}

}  // namespace
}  // namespace photometer::tests
