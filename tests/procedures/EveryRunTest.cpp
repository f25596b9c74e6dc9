// What holds for the runs of all procedures: how they fail, how a cancel or a shutdown ends them.

#include <algorithm>
#include <atomic>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Runs.h"
#include "platform/Platform.h"
#include "support/Density.h"

namespace photometer::tests {
namespace {

using platform::Policy;
using simulator::FaultKind;

Start MeasureOf(const std::vector<double>& wavelengths) {
  MeasureRequest request = RequestAt(wavelengths);
  request.m_dwReadings = 2;
  request.m_bTurbidity = request.m_bCuvetteSize = TRUE;
  return StartOf(request);
}

const Start MEASURE = MeasureOf({365.0, 525.0});
const Start MEASURE_BELOW = MeasureOf({220.0});
const Start SCAN = StartOf(ScanRequest{RUN_ID, 370.0, 380.0, 340.0, 0, FALSE, TRUE});
/// Its two segments.
constexpr std::size_t FIRST_POINTS = 60;
constexpr std::size_t ALL_POINTS = 122;
const Start KINETICS = StartOf(KineticsRequest{RUN_ID, 0, 2, 500.0, 340.0});
const Start TURBIDITY = StartOf(TurbidityRequest{RUN_ID, 31, 32});

// ---- failures ----

TEST(EveryRun, EndsWithTheNumberOfTheCommandThatFails) {
  struct {
    const char* procedure;
    Start start;
    char letter;
    std::uint32_t nth;
    const char* command;
    LONG iError;
    std::size_t nValues = 0;
  } const cases[] = {
      {"Measure", MEASURE, 'S', 1, "SetMonochromatorSpeed", 104},
      {"Measure", MEASURE, 'A', 1, "SetADSpeed", 94},
      {"Measure", MEASURE, 'i', 1, "SetMeasurementLength", 44},
      {"Measure", MEASURE, 'r', 1, "SetMirror", 54},
      {"Measure", MEASURE, 'F', 1, "SetFilter", 4},
      {"Measure", MEASURE, 'g', 1, "SetGain", 34},
      {"Measure", MEASURE, 'M', 1, "MoveMonochromator", 114},
      {"Measure", MEASURE, 'h', 1, "SetHalogenLamp", 64},
      {"Measure", MEASURE, 'H', 1, "SetShutter", 24},
      {"Measure", MEASURE, 'a', 1, "GetADValue", 132},
      {"Measure", MEASURE, 'T', 1, "SetTurbidityPower", 184},
      {"Measure", MEASURE, 'G', 1, "SetTurbidityGain", 194},
      {"Measure", MEASURE, 't', 1, "GetTurbidity", 162},
      {"Measure", MEASURE_BELOW, 'd', 1, "_SetDeuteriumLamp", 74},
      {"Measure", MEASURE_BELOW, 'f', 1, "SetFan", 174},
      {"Kinetics", KINETICS, 'F', 1, "SetFilter", 4},
      {"Kinetics", KINETICS, 'h', 2, "SetHalogenLamp", 64},
      {"Kinetics", KINETICS, 'h', 3, "SetHalogenLamp", 64, 1},
      {"ScanProc", SCAN, 'M', 1, "MoveMonochromator", 114},
      {"ScanProc", SCAN, 'F', 2, "SetFilter", 4, FIRST_POINTS},
      {"ScanProc", SCAN, 'a', 2, "GetADValue", 132, FIRST_POINTS},
      {"ScanProc", SCAN, 't', 2, "GetTurbidity", 162, ALL_POINTS - 1},
      {"MeasureTurbidity", TURBIDITY, 'H', 1, "SetShutter", 24},
      {"MeasureTurbidity", TURBIDITY, 'G', 2, "SetTurbidityGain", 194},
      {"MeasureTurbidity", TURBIDITY, 't', 1, "GetTurbidity", 162},
  };
  for (const auto& c : cases) {
    for (const FaultKind kind : {FaultKind::Error, FaultKind::Silence}) {
      const std::string strRecord = std::string("[") + c.procedure + "] " + c.command;
      SCOPED_TRACE(strRecord + (kind == FaultKind::Error ? " error" : " silence"));
      ReadyDevice device;
      // A failure before makes the device forget the settings, so that all are sent again.
      device.world.unit.WireFaults().Add({.kind = FaultKind::Error, .letter = 'H', .nth = 1});
      device.Run(MeasureOf({700.0}));
      device.world.unit.WireFaults().Clear();
      // "error" is no reading, and what follows it is silence.
      const bool bSilenceAlone = c.letter == 'a' || c.letter == 't';
      device.ExpectFailure(c.start, {.fault = {.kind = kind, .letter = c.letter, .nth = c.nth},
                                     .iResult = kind == FaultKind::Error || bSilenceAlone ? c.iError : c.iError - 2,
                                     .strRecord = strRecord,
                                     .nValues = c.nValues});
    }
  }
}

TEST(EveryRun, TakesTenAttemptsForAReading) {
  struct {
    Start start;
    const char* line;
    const char* record;
    const char* error;
  } const cases[] = {
      {MeasureOf({525.0}), "[Measure] Pos= 6088  WL= 525  Value= 0.000  ValueRef= 0.000",
       "[Measure] GetADValue returned -3", "OnError(0, 4294967293)"},
      {KINETICS, "[Kinetics] Pos= 5785  WL= 0  Value= 0.000  ValueRef= 0.000", "[Kinetics] GetADValue returned 313",
       "OnError(0, 313)"},
  };
  for (const auto& c : cases) {
    for (const int iInvalid : {9, 10}) {
      SCOPED_TRACE(c.line + std::to_string(iInvalid));
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
      EXPECT_EQ(device.Run(c.start).size(), bFails ? 0U : 2U);
      EXPECT_EQ(device.Errors(), bFails ? Texts{c.error} : Texts{});
      EXPECT_EQ(device.Notified(FINISHED), bFails ? 0U : 1U);
      const Texts log = device.Log();
      EXPECT_EQ(device.world.LogLines("] get invalid values...\n"), static_cast<std::size_t>(iInvalid));
      EXPECT_EQ(std::ranges::count(log, c.line), iInvalid);
      EXPECT_EQ(std::ranges::count(log, c.record), bFails ? 1 : 0);
    }
  }
}

// ---- cancel ----

/// What a run delivers, and its number of scheduling points.
MeasureValues RunUndisturbed(const Start& start, Policy policy, std::uint64_t* pPoints) {
  ReadyDevice device(Scheduled(policy, 1));
  const std::uint64_t nFirst = device.world.board.Points();
  const MeasureValues values = device.Run(start);
  *pPoints = device.world.board.Points() - nFirst;
  return values;
}

/// One run that is cancelled at a scheduling point, with the bytes whole or split, and the run after it.
void CancelAt(const Start& start, Policy policy, std::uint64_t nPoint, const MeasureValues& expected) {
  WorldOptions options = Scheduled(policy, nPoint);
  options.unit.seed = nPoint;
  options.bAtOnce = nPoint % 2 == 0;
  ReadyDevice device(options);
  HRESULT cancelled = E_FAIL;
  std::atomic<bool> bDone = false;
  device.world.board.RunAtPoint(device.world.board.Points() + nPoint, "host", [&] {
    cancelled = device->CancelMeasurement();
    bDone = true;
  });
  const MeasureValues values = device.Run(start);
  while (!bDone) {
    platform::Sleep(20);
  }
  const bool bFinished = device.Notified(FINISHED) == 1;
  EXPECT_EQ(device.Notified(FINISHED) + device.Notified(CANCELLED), 1U);
  EXPECT_TRUE(device.Errors().empty());
  EXPECT_TRUE(bFinished || cancelled == S_OK);
  device.world.ExpectSwitchedOff();
  ASSERT_LE(values.size(), expected.size());
  EXPECT_TRUE(!bFinished || values.size() == expected.size());
  ExpectSameValues(values, {expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(values.size())});
  ExpectSameValues(device.Run(start), expected);
  EXPECT_EQ(device.Notified(FINISHED), 1U);
}

TEST(EveryRun, CancelledAtManyPoints) {
  const std::pair<const char*, Start> cases[] = {
      {"measure", MEASURE}, {"scan", SCAN}, {"kinetics", KINETICS}, {"turbidity", TURBIDITY}};
  const std::uint64_t nRuns = RunCount(150);
  for (const auto& [procedure, start] : cases) {
    for (const Policy policy : {Policy::FirstCome, Policy::Random}) {
      std::uint64_t nPoints = 0;
      const MeasureValues expected = RunUndisturbed(start, policy, &nPoints);
      for (std::uint64_t n = 0; n < nRuns && !HasFailure(); ++n) {
        const std::uint64_t nPoint = 1 + nPoints * n / nRuns;
        SCOPED_TRACE(std::string(procedure) + (policy == Policy::Random ? ", random, point " : ", point ") +
                     std::to_string(nPoint) + " of " + std::to_string(nPoints));
        CancelAt(start, policy, nPoint, expected);
      }
    }
  }
}

TEST(EveryRun, CancelIsSeenAtItsPlaces) {
  struct {
    Start start;
    /// The host cancels during the first writing of the first of these; what is written from it on.
    Texts expected;
    const char* line;
    std::size_t nValues = 0;
  } const cases[] = {
      {MEASURE, {"$M4179"}, "[Measure] Measurement was canceled."},
      {MEASURE, {"$t", "$H0", "$a3"}, "[Measure] Measurement was canceled."},
      // No part of a wavelength is delivered.
      {MEASURE, {"$F2", "$g0", "$M6088"}, "[Measure] Measurement was canceled.", 2},
      {TURBIDITY, {"$H1", "$T1", "$G0"}, "[MeasureTurbidityProc] Measurement was canceled."},
      {TURBIDITY, {"$t", "$T3", "$G1"}, "[MeasureTurbidityProc] Measurement was canceled."},
      {TURBIDITY, {"$H0"}, "[MeasureTurbidityProc] Measurement was canceled."},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.expected.front());
    ReadyDevice device;
    bool bDone = false;
    device.world.ports.beforeWrite = [&](std::string_view bytes) {
      if (bytes == c.expected.front() + "\r" && !std::exchange(bDone, true)) {
        EXPECT_EQ(device->CancelMeasurement(), S_OK);
      }
    };
    EXPECT_EQ(device.Run(c.start).size(), c.nValues);
    Texts written = device.world.Written();
    std::erase_if(written, [](const std::string& text) { return text == "$r0" || text == "$h0"; });
    EXPECT_EQ(Texts(std::ranges::find(written, c.expected.front()), written.end()), c.expected);
    EXPECT_EQ(device.Calls("OnNotify").back(), "OnNotify(9, 18, 100)");
    EXPECT_EQ(device.Log(c.line).size(), 1U);
  }
}

/// A scan keeps the failure to itself; the others report it behind their end.
TEST(EveryRun, FailsAfterACancel) {
  struct {
    Start start;
    simulator::Fault fault;
    Texts errors;
  } const cases[] = {
      {ThenCancel(SCAN, 10'000), {.kind = FaultKind::StopAfter, .letter = 's', .nth = 1, .count = 20}, {}},
      {ThenCancel(SCAN, 30'000), {.kind = FaultKind::Silence, .letter = 'F', .nth = 1}, {}},
      {ThenCancel(KINETICS, 30'000), {.kind = FaultKind::Silence, .letter = 'F', .nth = 1}, {"OnError(0, 2)"}},
      {ThenCancel(TURBIDITY, 30'000), {.kind = FaultKind::Silence, .letter = 't', .nth = 1}, {"OnError(0, 162)"}},
  };
  for (const auto& c : cases) {
    ReadyDevice device;
    device.world.unit.WireFaults().Add(c.fault);
    device.Run(c.start);
    EXPECT_EQ(device.Calls("OnNotify"), (Texts{"OnNotify(9, 25, 0)", "OnNotify(9, 18, 100)"}));
    EXPECT_EQ(device.Errors(), c.errors);
    EXPECT_EQ(device.Calls().back(), c.errors.empty() ? "OnNotify(9, 18, 100)" : c.errors.back());
  }
}

TEST(EveryRun, ShutdownInAWaitIsNeitherTimeOutNorCancel) {
  const std::pair<Start, const char*> cases[] = {
      {StartOf(ScanRequest{RUN_ID, 400.0, 900.0, 340.0, 0, FALSE, FALSE}), "[Scan] Thread closed with iResult= 322\n"},
      {StartOf(KineticsRequest{RUN_ID, 60, 600, 500.0, 340.0}), "[Kinetics] Thread closed"},
  };
  for (const auto& [start, closed] : cases) {
    ReadyDevice device;
    ASSERT_EQ(start(*device.operator->()), S_OK);
    platform::Sleep(5000);
    device->Shutdown();
    EXPECT_EQ(device.world.LogLines(closed), 1U);
    for (const char* absent : {"[Scan] Timeout", "[ScanProc] ", "canceled"}) {
      EXPECT_EQ(device.world.LogLines(absent), 0U) << absent;
    }
  }
}

}  // namespace
}  // namespace photometer::tests
