#include <atomic>

#include "PumpBench.h"
#include "pumps/PumpExchange.h"

namespace photometer::tests {
namespace {

using simulator::Fault;
using simulator::FaultKind;

constexpr simulator::Time MINUTE = 60'000'000;

const std::string LONG_NOISE(1025, 'x');
const Fault SILENCE{.kind = FaultKind::Silence};

Fault StartFault(std::size_t nNumber) { return {.kind = FaultKind::Error, .letter = 's', .count = nNumber}; }

/// Expects that so much time has passed since the board's time `nStart`, ms, with a tolerance.
void ExpectPassed(const PumpBench& bench, std::uint64_t nStart, double dMs, double dTolerance) {
  EXPECT_NEAR(static_cast<double>(bench.NowMs() - nStart), dMs, dTolerance);
}

TEST(Pumps, InUse) {
  PumpBench bench(MODE_ZQ_410);
  const auto isInUse = [&bench](int iCuvette, BOOL bDetected = TRUE, BOOL bDisabled = FALSE) {
    bench.world.holder.Insert(iCuvette, bench.world.board.Now());
    Sleep(10);
    bench.state.Lock()->m_Status.bSipperDetected = bDetected;
    bench.state.Lock()->m_PumpInfo.m_bPumpDisabled = bDisabled;
    return bench.pumps.IsPumpInUse();
  };
  EXPECT_TRUE(isInUse(10) && isInUse(20) && isInUse(40) && isInUse(50));
  EXPECT_FALSE(isInUse(0) || isInUse(14) || isInUse(10, FALSE) || isInUse(10, TRUE, TRUE));
}

// ---- dialogues with the ZQ-410 ----

DWORD SetPump(PumpBench& bench) { return bench.pumps.SetPump(5, 120); }
DWORD Cycle(PumpBench& bench) { return bench.pumps.PumpZQ410(); }

TEST(Pumps, DialoguesWithTheZQ410) {
  struct {
    const char* what;
    DWORD (*run)(PumpBench&);
    Fault fault;
    DWORD dwResult;
    double dMs;  // from command to result, with a tolerance of 0.5 s
    bool bChatter = false;
  } const cases[] = {
      {"in pieces", SetPump, {.kind = FaultKind::Split, .delay = 3'000'000, .count = 2}, 0, 3000},
      {"silent", SetPump, SILENCE, 532, 60'000},
      {"chatter", SetPump, SILENCE, 532, 60'000, true},
      {"too long", SetPump, {.kind = FaultKind::Garbage, .bytes = LONG_NOISE}, 533, 500},
      {"cycle in pieces", Cycle, {.kind = FaultKind::Split, .delay = 3'000'000, .count = 4}, 0, 8000},
      {"cycle silent", Cycle, SILENCE, 512, 60'000},
      {"chatter in the cycle", Cycle, SILENCE, 512, 185'000, true},
      {"cycle too long", Cycle, {.kind = FaultKind::StaleBefore, .bytes = LONG_NOISE}, 513, 500},
      {"failure first", Cycle, {.kind = FaultKind::Garbage, .bytes = Framed("h1;b") + Framed("h3;a")}, 514, 5000},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PumpBench bench(MODE_ZQ_410);
    bench.Faults({c.fault});
    bench.Chatter("x", c.bChatter ? 200 : 0);
    const std::uint64_t nStart = bench.NowMs();
    EXPECT_EQ(c.run(bench), c.dwResult);
    ExpectPassed(bench, nStart, c.dMs, 510.0);
    EXPECT_EQ(bench.Frames(), Texts{c.run == SetPump ? "H;005;120" : "H1;a"});
    EXPECT_FALSE(bench.Info().m_bPumpCapture);
  }
}

TEST(Pumps, SetPumpWithoutAnExchange) {
  PumpBench bench(MODE_ZQ_410);
  EXPECT_EQ(bench.pumps.SetPump(1000, 5), 531U);
  EXPECT_EQ(bench.pumps.SetPump(5, 1000), 531U);
  bench.state.Lock()->m_PumpInfo.m_iOperatingMode = MODE_ZQ_420;
  EXPECT_EQ(bench.pumps.SetPump(1000, 5), 0U);
  bench.state.Lock()->m_PumpInfo.m_iOperatingMode = MODE_ZQ_410;
  bench.world.ports.writes.Start(1);
  EXPECT_EQ(bench.pumps.SetPump(5, 5), 535U);
  EXPECT_EQ(bench.Frames(), Texts{});
  EXPECT_EQ(bench.pumps.SetPump(999, 0), 0U);
  EXPECT_EQ(bench.Frames(), Texts{"H;999;000"});
}

TEST(Pumps, ThePumpIsAskedUntilItAnswersAndNothingDuringItsCycle) {
  PumpBench bench(MODE_ZQ_410);
  bench.state.Lock()->m_Params.PumpTime = 300;  // they would fill the answer
  bench.Faults({{.kind = FaultKind::Silence, .letter = 'H', .nth = 1},
                {.kind = FaultKind::Silence, .letter = 'H', .nth = 2},
                {.kind = FaultKind::Late, .letter = 'V', .delay = 2'500'000}});
  bench.zq410.StopKeepAlive(simulator::Never);
  bench.StartTimer();
  Sleep(8'000);
  EXPECT_EQ(bench.Info().m_strPumpVersion, "V01.07");
  bench.After(100, [&] {
    bench.Cancel();
    bench.state.Lock()->m_PumpInfo.m_strPumpVersion.clear();  // the timer would ask for it
  });
  const std::uint64_t nStart = bench.NowMs();
  EXPECT_EQ(bench.pumps.Pump(5), 516U) << "a cancel shows at the cycle's end";
  ExpectPassed(bench, nStart, 300'000, 100.0);
  Texts asked = bench.Frames();
  std::erase(asked, "Y;a");
  EXPECT_EQ(asked, (Texts{"H;300;120", "H;300;120", "H;300;120", "V;a", "H1;a"}));
  Sleep(2'000);
  EXPECT_EQ(bench.zq410.AnsweredKeepAlives(), bench.zq410.SentKeepAlives());
  EXPECT_EQ(bench.host.Calls(), Texts{"Connected"});
}

// ---- the cycle of the ZQ-420 ----

TEST(Pumps, CycleOfTheZQ420) {
  const Fault noStart{.kind = FaultKind::Silence, .letter = 's'};
  const Fault noStop{.kind = FaultKind::Silence, .letter = 'e'};
  const Fault lateStart{.kind = FaultKind::Late, .letter = 's', .delay = 9'500'000};
  const Fault behindStart{.kind = FaultKind::Garbage, .letter = 's', .bytes = Framed("s") + Framed("p;f;5")};
  const struct {
    const char* what;
    std::vector<Fault> faults;
    int iPumpingFault;
    DWORD dwResult;
    double dStopMs;  // from the start to the stop command; 0: there is none
    double dMs;      // from the start command to the result
  } cases[] = {
      {"sound", {}, 0, 0, 10'000, 10'000},
      {"start fault 5", {StartFault(5)}, 0, 616, 0, 0},
      {"start fault 6", {StartFault(6)}, 0, 617, 0, 0},
      {"pumping fault 3", {}, 3, 615, 0, 4'000},
      {"pumping fault 4", {}, 4, 0, 10'000, 10'000},
      {"pumping fault 6", {}, 6, 617, 0, 4'000},
      {"no start", {noStart}, 0, 612, 10'000, 10'000},
      {"late start", {lateStart}, 0, 0, 10'000, 10'000},
      {"no stop", {noStop}, 0, 612, 10'000, 12'000},
      {"behind the start answer", {behindStart}, 0, 616, 0, 0},
  };
  for (const DWORD dwStartTick : {1000U, 0xFFFFF000U}) {
    for (const auto& c : cases) {
      SCOPED_TRACE(c.what);
      PumpBench bench(MODE_ZQ_420, {.startTick = dwStartTick});
      bench.Detect();
      bench.Faults(c.faults);
      bench.zq420.FailPumping(c.iPumpingFault, 4'000'000);
      const std::uint64_t nStart = bench.NowMs();
      EXPECT_EQ(bench.pumps.Pump(10), c.dwResult);
      ExpectPassed(bench, nStart, c.dMs, 25.0);
      EXPECT_EQ(bench.Frames(), c.dStopMs == 0 ? (Texts{"e", "s"}) : (Texts{"e", "s", "e"}));
      const auto& received = bench.Line().Received();
      const double dPumped = static_cast<double>(received.back().time - received[1].time) / 1000.0;
      EXPECT_NEAR(dPumped, c.dStopMs, 1.0);
      EXPECT_EQ(bench.host.Calls(), c.dwResult == 0 ? Texts{} : Texts{"PumpError 0 " + std::to_string(c.dwResult)});
      EXPECT_TRUE(bench.Info().m_bSipperCycleDone);
      EXPECT_FALSE(bench.Info().m_bPumpCapture);
      bench.state.Lock()->m_Status.bCancel = TRUE;
      EXPECT_EQ(bench.pumps.PumpZQ420(0), 613U) << "the cancel flag takes the place of any other result";
    }
  }
}

TEST(Pumps, CancelAnywhereInTheCycleOfTheZQ420) {
  // Before the start command has arrived, before its answer, while pumping, after the stop command.
  for (const DWORD dwMs : {0U, 1U, 3U, 7U, 20U, 1000U, 1999U, 2000U, 2001U, 2003U}) {
    for (const bool bFlush : {false, true}) {
      SCOPED_TRACE(dwMs);
      PumpBench bench(MODE_ZQ_420);
      bench.Detect();
      bench.After(dwMs, [&] { bFlush ? static_cast<void>(bench.flush.CancelFlush()) : bench.Cancel(); });
      const std::uint64_t nStart = bench.NowMs();
      EXPECT_EQ(bench.pumps.Pump(2), 613U);
      EXPECT_TRUE(bench.state.IsCancelled())
          << "the cancel of a flush becomes that of the procedure whose step this is";
      EXPECT_LE(bench.NowMs() - nStart, dwMs + 10);
      EXPECT_EQ(bench.host.Calls(), Texts{});
      bench.ForgetCancel();
      // The next one begins with a clear line: no late answer counts for it.
      const bool bArrived = bench.Frames() != Texts{"e"};
      bench.zq420.Line().Faults().Add({.kind = FaultKind::Silence, .letter = 's', .nth = bArrived ? 1U : 2U});
      EXPECT_EQ(bench.pumps.Pump(2), 612U);
      EXPECT_FALSE(bench.zq420.IsPumping());
      EXPECT_EQ(bench.pumps.Pump(2), 0U);
    }
  }
}

TEST(Pumps, ChatterOfTheZQ420KeepsNoPhaseAlive) {
  PumpBench bench(MODE_ZQ_420);
  bench.Detect();
  const simulator::Time now = bench.world.board.Now();
  bench.Line().Flood().Start(now, now + MINUTE, 1'900, "x");
  std::uint64_t nStart = bench.NowMs();
  EXPECT_EQ(bench.pumps.Pump(3), 0U);
  EXPECT_LE(bench.NowMs() - nStart, 5'500U);
  nStart = bench.NowMs();
  bench.After(3000, [&] { bench.Cancel(); });
  EXPECT_EQ(bench.pumps.Pump(10), 613U);
  EXPECT_LE(bench.NowMs() - nStart, 3'300U);
}

TEST(Pumps, PortOfTheZQ420Lost) {
  PumpBench bench(MODE_ZQ_420);
  EXPECT_EQ(bench.pumps.Pump(10), 614U);
  EXPECT_FALSE(bench.Info().m_bSipperCycleDone);
  bench.Detect();
  bench.StartTimer();
  bench.After(3000, [&] { bench.world.board.UnplugPort(PumpBench::SIPPER); });
  const std::uint64_t nStart = bench.NowMs();
  EXPECT_EQ(bench.pumps.PumpZQ420(10), 614U);
  EXPECT_LE(bench.NowMs() - nStart, 4300U);
  EXPECT_FALSE(bench.Detected());
}

TEST(Pumps, TimesBeyondTheTickCounterAreCut) {
  PumpBench bench(MODE_ZQ_420);
  bench.Detect();
  bench.After(100'000, [&] { bench.Cancel(); });
  EXPECT_EQ(bench.pumps.PumpZQ420(4'294'968), 613U);  // 32 bits of milliseconds, and 0.7 s
  bench.ForgetCancel();
  EXPECT_EQ(bench.pumps.PumpZQ420(0), 612U);
}

// ---- two at once ----

TEST(Pumps, ExchangesTakeTurnsWithinAMinute) {
  PumpBench bench(MODE_ZQ_410);
  bench.zq410.StopKeepAlive(simulator::Never);
  bench.state.Lock()->m_Params.PumpTime = 100;
  EXPECT_EQ(bench.pumps.SetPump(100, 1), 0U);
  std::atomic<DWORD> dwFirst = 1;
  bench.After(0, [&] { dwFirst = bench.pumps.PumpZQ410(); });
  Sleep(10);
  // The other pump has a line of its own.
  bench.Detect();
  EXPECT_EQ(bench.pumps.PumpZQ420(1), 0U);
  EXPECT_TRUE(bench.Info().m_bPumpCapture);
  const std::uint64_t nStart = bench.NowMs();
  EXPECT_EQ(bench.pumps.SetPump(1, 1), 532U);
  ExpectPassed(bench, nStart, 60'000, 20.0);
  EXPECT_EQ(bench.pumps.SetPump(1, 1), 0U);
  ExpectPassed(bench, nStart, 99'000, 100.0);
  EXPECT_EQ(dwFirst, 0U);
}

// ---- parameters from the host ----

TEST(Pumps, UpdatePumpParameters) {
  struct {
    const char* what;
    DWORD dwPumpTime;
    FaultKind fault;
    BOOL bBusy;
    DWORD dwError;
    std::size_t nCommands;
  } const cases[] = {
      {"sound", 7, FaultKind::Split, FALSE, 0, 0},
      {"too large", 1000, FaultKind::Split, FALSE, 541, 4},
      {"silent", 7, FaultKind::Silence, FALSE, 542, 4},
      {"silent beside a procedure", 7, FaultKind::Silence, TRUE, 542, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PumpBench bench(MODE_ZQ_410);
    EXPECT_EQ(bench.pumps.UpdatePumpParameters(c.dwPumpTime, 8), S_OK);
    EXPECT_EQ(bench.state.Lock()->m_Params.PumpTime, 5U) << "no pump";
    bench.Detect();
    bench.state.Lock()->m_Status.bBusy = c.bBusy;
    bench.Faults({{.kind = c.fault}});
    EXPECT_EQ(bench.pumps.UpdatePumpParameters(c.dwPumpTime, 8), S_OK);
    Sleep(61'000);
    EXPECT_EQ(bench.Frames(), c.dwPumpTime == 7 ? Texts{"H;007;008"} : Texts{});
    EXPECT_EQ(bench.state.Lock()->m_Params.PumpTime, c.dwPumpTime);
    EXPECT_EQ(bench.host.Calls(), c.dwError == 0 ? Texts{} : Texts{"OnError(0, " + std::to_string(c.dwError) + ")"});
    EXPECT_EQ(bench.world.LogLines("[Pump] UpdatePumpParProc returned"), c.dwError == 0 ? 0U : 1U);
    EXPECT_EQ(bench.world.Written().size(), c.nCommands);
    bench.world.kernel.threads.Start(1);
    EXPECT_EQ(bench.pumps.UpdatePumpParameters(7, 8), E_FAIL);
    bench.state.Lock()->m_Params.dwOperatingMode = MODE_ZQ_420;
    EXPECT_EQ(bench.pumps.UpdatePumpParameters(7, 8), S_OK) << "nothing to send";
  }
}

// ---- countdown and pump step ----

TEST(Pumps, DelayCountdown) {
  struct {
    const char* what;
    DWORD dwSeconds;
    int iCancelMs;
    bool bCancelBefore;
    Texts calls;
    std::uint64_t nMs;
  } const cases[] = {
      {"plain", 3, -1, false, {"Countdown 9 3", "Countdown 9 2", "Countdown 9 1", "Countdown 9 0"}, 3000},
      {"none", 0, -1, false, {"Countdown 9 0"}, 0},
      {"last second", 2, 1500, false, {"Countdown 9 2", "Countdown 9 1", "Countdown 9 0"}, 1500},
      {"cancelled before", 3, -1, true, {"Countdown 9 3", "Countdown 9 0"}, 0},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PumpBench bench(MODE_ZQ_410);
    SetEvent(bench.state.CancelEvent());  // of an earlier run; the flag is clear
    if (c.bCancelBefore) {
      bench.Cancel();
    }
    if (c.iCancelMs >= 0) {
      bench.After(static_cast<DWORD>(c.iCancelMs), [&] { bench.Cancel(); });
    }
    const std::uint64_t nStart = bench.NowMs();
    bench.pumps.DelayCountdown(c.dwSeconds, 9);
    EXPECT_EQ(bench.NowMs() - nStart, c.nMs);
    EXPECT_EQ(bench.host.Calls(), c.calls);
  }
}

/// A step that draws is a part of the procedures' own tests.
TEST(Pumps, PumpStepOfAPumpThatHasPumpedByItself) {
  PumpBench bench(MODE_ZQ_410);
  bench.state.Lock()->m_PumpInfo.m_bPumpCycleReported = TRUE;
  const PhotometerParameters params = bench.state.Lock()->m_Params;
  EXPECT_EQ(bench.pumps.PumpStep(params, 9), 0U);
  EXPECT_EQ(bench.Frames(), Texts{});
  EXPECT_EQ(bench.host.Calls(), (Texts{"Countdown 9 2", "Countdown 9 1", "Countdown 9 0"}));
  EXPECT_FALSE(bench.Info().m_bPumpCycleReported);
}

// ---- stopping ----

TEST(Pumps, StopEndsEveryWait) {
  struct {
    LONG iMode;
    void (*run)(PumpBench&);
  } const cases[] = {
      {MODE_ZQ_410, [](PumpBench& b) { EXPECT_EQ(b.pumps.Pump(900), 512U); }},
      {MODE_ZQ_420, [](PumpBench& b) { EXPECT_EQ(b.pumps.Pump(900), 613U); }},
      {MODE_ZQ_410, [](PumpBench& b) { b.pumps.DelayCountdown(900, 9); }},
      {MODE_ZQ_410, [](PumpBench& b) { EXPECT_EQ(b.pumps.UpdatePumpParameters(7, 8), S_OK); }},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(&c - std::begin(cases));
    PumpBench bench(c.iMode);
    bench.Detect();
    bench.Faults({SILENCE});
    std::atomic<std::uint64_t> nEnd = 0;
    bench.After(0, [&] {
      c.run(bench);
      nEnd = bench.NowMs();
    });
    Sleep(5000);
    bench.TakeCalls();
    const std::uint64_t nStop = bench.NowMs();
    bench.Stop();
    EXPECT_LE(nEnd, nStop + 10);
    EXPECT_FALSE(bench.zq420.IsPumping());
    EXPECT_EQ(bench.host.Calls(), Texts{});
    EXPECT_EQ(bench.world.LogLines("UpdatePumpParProc"), 0U);
    EXPECT_EQ(bench.pumps.SetPump(5, 5), c.iMode == MODE_ZQ_410 ? 532U : 0U) << "nor does anything wait now";
  }
}

}  // namespace
}  // namespace photometer::tests
