// A sample that a sipper pump draws before the run: how the pump's end and a cancel end the run.

#include <algorithm>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Runs.h"
#include "platform/Platform.h"
#include "procedures/Scan.h"
#include "simulator/SipperZQ410.h"
#include "simulator/SipperZQ420.h"

namespace photometer::tests {
namespace {

using simulator::FaultKind;

const ScanRequest SCAN{RUN_ID, 500.0, 502.0, 340.0, 0, FALSE, FALSE};
const KineticsRequest KINETICS{RUN_ID, 0, 5, 525.0, 340.0};

struct Intake {
  const char* what;
  /// Of the pump's line; without a letter: none.
  simulator::Fault fault;
  bool bCancel;
  /// The callbacks behind the run's start, results left out.
  Texts ends;
  /// What the measurement logs last of it; empty: nothing.
  std::string strLog;
};

/// Starts up with the pump of the operating mode, which needs 5 s, and 2 s for the sample to settle.
void StartUpWithPump(World& world, Device& device, DWORD dwOperatingMode) {
  PhotometerParameters params = DefaultParameters();
  params.dwOperatingMode = dwOperatingMode;
  params.PumpTime = 5;
  params.DelayTime = 2;
  const CalibrationData calibration = DefaultCalibration();
  ASSERT_EQ(device->Initialize(&params, &calibration), S_OK);
  ASSERT_TRUE(device.WaitUntilNotBusy());
  world.holder.Insert(10, world.board.Now());
  device->SendSipperPing();
  platform::Sleep(5000);  // the ZQ-410 announces itself
  ASSERT_TRUE(device->GetStatus().bSipperDetected);
  world.transcript.Clear();
}

void ExpectIntake(const Intake& intake, const Start& start, bool bMeasures) {
  simulator::SipperZQ410 pump;
  World world;
  world.board.PlugPort(u"COM1:", pump);
  Device device(world);
  StartUpWithPump(world, device, 1);
  if (intake.fault.letter != 0) {
    pump.Line().Faults().Add(intake.fault);
  }
  ASSERT_EQ((intake.bCancel ? ThenCancel(start, 2000) : start)(*device.operator->()), S_OK);
  EXPECT_TRUE(device.WaitUntilNotBusy());
  Texts calls = world.sink.Calls();
  std::erase_if(calls,
                [](const std::string& call) { return call.starts_with("OnResult") || call.ends_with("15, 100)"); });
  ASSERT_FALSE(calls.empty());
  EXPECT_EQ(calls.front(), "OnNotify(9, 25, 0)");
  EXPECT_EQ(Texts(calls.begin() + 1, calls.end()), intake.ends);
  const std::size_t nLines = bMeasures && !intake.strLog.empty() ? 1 : 0;
  EXPECT_EQ(world.LogLines("|  [Measure] start pumping... PumpTime= 5\n"), nLines);
  EXPECT_EQ(world.LogLines("|  " + intake.strLog + "\n"), nLines);
  device.Close();
  world.ExpectClean();
}

TEST(SampleRun, EndsAsItsPumpAndTheHostSay) {
  const Intake intakes[] = {
      {"sound", {}, false, {"OnNotify(9, 17, 100)"}, "[Measure] bSleep= TRUE, DelayTime= 2"},
      {"pump fails", {.kind = FaultKind::Error, .letter = '1'}, false, {}, "[Measure] Pump(), iResult= 514"},
      {"cancelled", {}, true, {"OnNotify(9, 18, 100)"}, "[Measure] Pump(), iResult= 516"},
      {"parameters fail", {.kind = FaultKind::Silence, .letter = 'H'}, false, {"OnError(0, 532)"}, ""},
  };
  const std::pair<const char*, Start> starts[] = {
      {"measure", StartOf(RequestAt({525.0}))}, {"scan", StartOf(SCAN)}, {"kinetics", StartOf(KINETICS)}};
  for (const Intake& intake : intakes) {
    for (const auto& [procedure, start] : starts) {
      SCOPED_TRACE(std::string(intake.what) + ", " + procedure);
      ExpectIntake(intake, start, procedure == starts[0].first);
    }
  }
}

MeasureRequest MeasureOfADrawnSample() {
  MeasureRequest request = RequestAt({525.0});
  request.m_bPumpDefaults = TRUE;
  return request;
}

/// A device that has started up with a ZQ-420; closed, and expected to leave a clean world, at its end.
struct PumpBench {
  explicit PumpBench(const WorldOptions& options = {}) : world(options) {
    world.board.PlugPort(u"COM6:", pump);
    StartUpWithPump(world, device, 2);
  }
  ~PumpBench() {
    device.Close();
    world.ExpectClean();
  }
  PumpBench(const PumpBench&) = delete;
  PumpBench& operator=(const PumpBench&) = delete;

  void Begin(const Start& start) { EXPECT_EQ(start(*device.operator->()), S_OK); }
  /// How long the pump has run each time, s, rounded.
  [[nodiscard]] std::vector<simulator::Time> Pumped() {
    std::vector<simulator::Time> seconds;
    const auto& received = pump.Line().Received();
    for (std::size_t i = 1; i < received.size(); ++i) {
      if (received[i - 1].strText == "s" && received[i].strText == "e") {
        seconds.push_back((received[i].time - received[i - 1].time + 500'000) / 1'000'000);
      }
    }
    return seconds;
  }

  simulator::SipperZQ420 pump;
  World world;
  Device device{world};
};

using Cancel = HRESULT (IPhotometer::*)();

/// A flush that starts right behind the cancel takes nothing of it away, and is not cancelled by it.
void ExpectCancelledInAFlush(const Start& start, Cancel cancel, bool bFlushAgain) {
  PumpBench b;
  b.device->StartFlush(60);
  b.Begin(start);
  platform::Sleep(2000);
  EXPECT_EQ((b.device.operator->()->*cancel)(), S_OK);
  EXPECT_TRUE(!bFlushAgain || b.device->StartFlush(10) == S_OK);
  EXPECT_TRUE(b.device.WaitUntilNotBusy());
  EXPECT_EQ(b.world.sink.Count("OnNotify(9, 18, 100)"), 1U);
  platform::Sleep(12'000);
  EXPECT_EQ(b.Pumped(), bFlushAgain ? (std::vector<simulator::Time>{2, 10}) : std::vector<simulator::Time>{2});
}

TEST(SampleRun, CancelledWithTheFlushThatItsPumpWaitsFor) {
  for (const Start& start : {StartOf(MeasureOfADrawnSample()), StartOf(SCAN), StartOf(KINETICS)}) {
    for (const bool bFlushAgain : {false, true}) {
      SCOPED_TRACE(bFlushAgain);
      ExpectCancelledInAFlush(start, &IPhotometer::CancelFlush, bFlushAgain);
      ExpectCancelledInAFlush(start, &IPhotometer::CancelMeasurement, bFlushAgain);
    }
  }
}

TEST(SampleRun, ItsStartLosesNoCancelOfAFlush) {
  for (std::uint64_t nSeed = 1; nSeed <= 20; ++nSeed) {
    SCOPED_TRACE(nSeed);
    PumpBench b(Scheduled(platform::Policy::Random, nSeed));
    b.device->StartFlush(600);
    platform::Sleep(static_cast<DWORD>(nSeed % 4));
    b.device->CancelFlush();
    b.Begin(StartOf(MeasureOfADrawnSample()));
    platform::Sleep(20'000);
    EXPECT_FALSE(b.device->GetStatus().bBusy) << "it waits for the flush";
    EXPECT_EQ(b.world.sink.Count("OnNotify(9, 17, 100)"), 1U);
  }
}

TEST(SampleRun, ShutdownWhileItsPumpRunsIsNoCancelInTheLog) {
  for (const Start& start : {StartOf(MeasureOfADrawnSample()), StartOf(SCAN), StartOf(KINETICS)}) {
    PumpBench b;
    b.Begin(start);
    platform::Sleep(3000);
    b.device.Close();
    EXPECT_EQ(b.Pumped(), std::vector<simulator::Time>{3});
    for (const char* absent : {"anceled", "Pump(), iResult"}) {
      EXPECT_EQ(b.world.LogLines(absent), 0U) << absent;
    }
  }
}

TEST(SampleRun, CancelBeforeAShutdownStandsInTheLog) {
  for (const Start& start : {StartOf(SCAN), StartOf(KINETICS), StartOf(TurbidityRequest{RUN_ID, 1, 2})}) {
    World world;
    Device device(world);
    ASSERT_TRUE(device.StartUp());
    ASSERT_EQ(start(*device.operator->()), S_OK);
    platform::Sleep(600);
    EXPECT_EQ(device->CancelMeasurement(), S_OK);
    device.Close();
    EXPECT_EQ(world.LogLines("anceled"), 1U);
  }
}

TEST(SampleRun, PumpTimesGivenAtItsStart) {
  const std::pair<Start, simulator::Time> cases[] = {
      {StartOf(MeasureOfADrawnSample()), 9}, {StartOf(SCAN), 9}, {StartOf(KINETICS), 5}};
  for (const auto& [start, seconds] : cases) {
    PumpBench b;
    b.world.sink.On("OnNotify(9, 25", [&] { b.device->SetPumpParameters(9, 1, 0); });
    b.Begin(start);
    platform::Sleep(14'000);
    EXPECT_EQ(b.Pumped(), std::vector<simulator::Time>{seconds});
  }
}

TEST(SampleRun, PumpNumbersThatAreNoErrorOfAScan) {
  std::vector<DWORD> numbers(700);
  std::iota(numbers.begin(), numbers.end(), 0U);
  std::erase_if(numbers, [](DWORD dwNumber) { return !IsPumpStopCode(dwNumber); });
  EXPECT_EQ(numbers, (std::vector<DWORD>{512, 513, 514, 516, 612, 613, 614, 615, 616, 617}));
}

}  // namespace
}  // namespace photometer::tests
