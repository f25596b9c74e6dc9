#include "PumpBench.h"
#include "procedures/Flush.h"
#include "procedures/PumpAndDelay.h"

namespace photometer::tests {
namespace {

using simulator::Fault;
using simulator::FaultKind;

TEST(Flush, Ends) {
  struct {
    const char* what;
    LONG iMode;
    std::vector<Fault> faults;
    DWORD dwCancelMs;
    Texts calls;
  } const cases[] = {
      {"ZQ-410", 1, {}, 0, {"Flushed"}},
      {"in pieces", 1, {{.kind = FaultKind::Split, .delay = 800'000, .count = 3}}, 0, {"Flushed"}},
      {"cannot be cancelled", 1, {}, 1000, {"Flushed"}},
      {"failed", 1, {{.kind = FaultKind::Error}}, 0, {"PumpError 0 524"}},
      {"failure first",
       1,
       {{.kind = FaultKind::Garbage, .bytes = Framed("h2;b") + Framed("h3;a")}},
       0,
       {"PumpError 0 524"}},
      {"silent", 1, {{.kind = FaultKind::Silence}}, 0, {"PumpError 0 522"}},
      {"too long", 1, {{.kind = FaultKind::StaleBefore, .bytes = std::string(1025, 'x')}}, 0, {"PumpError 0 523"}},
      {"ZQ-420", 2, {}, 0, {"Flushed"}},
      {"cancelled", 2, {}, 1000, {"Flushed"}},
      {"pass-through mode", 0, {}, 0, {"Flushed"}},
      {"ZQ-420 failed", 2, {{.kind = FaultKind::Error, .letter = 's', .count = 5}}, 0, {"PumpError 0 616"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PumpBench bench(c.iMode);
    bench.Detect();
    SetEvent(bench.state.PumpCancelEvent());  // of an earlier flush
    for (const Fault& fault : c.faults) {
      bench.Line().Faults().Add(fault);
    }
    bench.state.Lock()->m_Status.bInitialized = TRUE;
    EXPECT_EQ(bench.flush.StartFlush(3), S_OK);
    if (c.dwCancelMs != 0) {
      Sleep(c.dwCancelMs);
      EXPECT_EQ(bench.flush.CancelFlush(), S_OK);
      Sleep(20);
      EXPECT_EQ(bench.host.Calls().size(), c.iMode == MODE_ZQ_420 ? 1U : 0U);
    }
    Sleep(62'000);
    EXPECT_EQ(bench.host.Calls(), c.calls);
  }
}

TEST(Flush, BytesThatAreNoEndDoNotKeepItAlive) {
  struct {
    const char* bytes;  // each second
    Texts calls;
    DWORD dwSeconds;
  } const cases[] = {{"x", {"PumpError 0 522"}, 600}, {"\x02y;a\x03", {"PumpError 0 523"}, 204}};
  for (const auto& c : cases) {
    PumpBench bench(MODE_ZQ_410);
    bench.zq410.Line().Faults().Add({.kind = FaultKind::Silence});
    const simulator::Time now = bench.world.board.Now();
    for (simulator::Time n = 0; n < 620; ++n) {
      bench.Line().SendBytes(now + n * 1'000'000, c.bytes);
    }
    bench.flush.StartFlush(3);
    Sleep(c.dwSeconds * 1000 - 500);
    EXPECT_EQ(bench.host.Calls(), Texts{});
    Sleep(1000);
    EXPECT_EQ(bench.host.Calls(), c.calls);
  }
}

TEST(Flush, RunsWithoutAnInitialisedDeviceAndWithoutEvents) {
  for (const LONG iMode : {0, MODE_ZQ_410}) {
    for (const BOOL bDetected : {FALSE, TRUE}) {
      World world;
      DeviceState state;
      HostSink sink;
      PumpSink host;
      WorkerThreads threads{state};
      ReceiveBuffer buffers[3] = {ReceiveBuffer(state), ReceiveBuffer(state), ReceiveBuffer(state)};
      OpticalLink link{state, sink, buffers[0], threads};
      CuvetteHolder cuvette{state, sink};
      ExternalPort external{state, sink, buffers[1], threads};
      SipperPort sipper{state, sink, buffers[2], threads};
      Pumps pumps{state, sink, threads, link, external, sipper, cuvette};
      Flush flush{state, sink, threads, external, pumps};
      sink.SetSink(&host);
      state.Lock()->m_PumpInfo.m_iOperatingMode = iMode;
      state.Lock()->m_Status.bSipperDetected = bDetected;
      EXPECT_EQ(flush.StartFlush(3), E_FAIL);
      EXPECT_TRUE(threads.WaitUntilEnded(1000));
      const char* const ending = iMode == MODE_ZQ_410 ? "PumpError 0 525"
                                 : bDetected          ? "PumpError 0 612"
                                                      : "PumpError 0 614";
      EXPECT_EQ(host.Calls(), Texts{ending});
      pumps.DelayCountdown(3, 9);
      EXPECT_EQ(host.Calls().size(), 3U);
      EXPECT_EQ(world.Faults(), Texts{});
    }
  }
}

TEST(Flush, ThreadThatCannotBeCreated) {
  PumpBench bench(MODE_ZQ_410);
  bench.state.Lock()->m_Status.bInitialized = TRUE;
  bench.world.kernel.threads.Start(1);
  EXPECT_EQ(bench.flush.StartFlush(3), E_FAIL);
  Sleep(1000);
  EXPECT_EQ(bench.host.Calls(), Texts{});
}

// ---- the sample intake of the measurement ----

TEST(PumpAndDelay, Intake) {
  const Texts delay{"Countdown 9 2", "Countdown 9 1", "Countdown 9 0"};
  const Texts hostsDelay{"Program 4", "Countdown 9 1", "Countdown 9 0"};
  struct {
    const char* what;
    LONG iMode;
    BOOL bDetected;
    BOOL bReported;
    DWORD dwProgram;
    BOOL bDefaults;
    std::vector<Fault> faults;
    DWORD dwCancelMs;
    bool bGoOn;
    LONG iResult;
    bool bCanceled;
    Texts frames;
    Texts calls;
  } const cases[] = {
      {"no pump", 1, FALSE, FALSE, 0, FALSE, {}, 0, true, 0, false, {}, {}},
      {"ZQ-410", 1, TRUE, FALSE, 0, FALSE, {}, 0, true, 0, false, {"H;005;120", "H1;a"}, delay},
      {"by itself", 1, TRUE, TRUE, 0, FALSE, {}, 0, true, 0, false, {}, delay},
      {"by itself, then lost", 1, FALSE, TRUE, 0, FALSE, {}, 0, true, 0, false, {}, delay},
      {"parameters fail",
       1,
       TRUE,
       FALSE,
       0,
       FALSE,
       {{.kind = FaultKind::Silence}},
       0,
       false,
       532,
       false,
       {"H;005;120"},
       {}},
      {"cycle fails",
       1,
       TRUE,
       FALSE,
       0,
       FALSE,
       {{.kind = FaultKind::Error}},
       0,
       false,
       0,
       false,
       {"H;005;120", "H1;a"},
       {}},
      {"cancelled", 1, TRUE, FALSE, 0, FALSE, {}, 500, false, 0, true, {"H;005;120", "H1;a"}, {}},
      {"ZQ-420 without program", 2, TRUE, FALSE, 0, FALSE, {}, 0, true, 0, false, {"e"}, {}},
      {"ZQ-420 with defaults", 2, TRUE, FALSE, 4, TRUE, {}, 0, true, 0, false, {"e", "s", "e"}, delay},
      {"ZQ-420 with program", 2, TRUE, FALSE, 4, FALSE, {}, 0, true, 0, false, {"e", "s", "e"}, hostsDelay},
      {"ZQ-420 cancelled", 2, TRUE, FALSE, 4, TRUE, {}, 500, false, 0, true, {"e", "s", "e"}, {}},
      {"ZQ-420 fails",
       2,
       TRUE,
       FALSE,
       4,
       TRUE,
       {{.kind = FaultKind::Error, .letter = 's', .count = 6}},
       0,
       false,
       0,
       false,
       {"e", "s"},
       {"PumpError 0 617"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PumpBench bench(c.iMode);
    {
      const auto state = bench.state.Lock();
      state->m_Status.bSipperDetected = c.bDetected;
      state->m_PumpInfo.m_bPumpCycleReported = c.bReported;
      state->m_MeasureRequest.m_dwRequestId = 9;
      state->m_MeasureRequest.m_dwPumpProgram = c.dwProgram;
      state->m_MeasureRequest.m_bPumpDefaults = c.bDefaults;
    }
    for (const Fault& fault : c.faults) {
      bench.Line().Faults().Add(fault);
    }
    if (c.dwCancelMs != 0) {
      bench.After(c.dwCancelMs, [&] { bench.Cancel(); });
    }
    LONG iResult = -1;
    bool bCanceled = false;
    EXPECT_EQ(PumpAndDelay(bench.state, bench.sink, bench.pumps).Run(&iResult, &bCanceled), c.bGoOn);
    EXPECT_EQ(iResult, c.iResult);
    EXPECT_EQ(bCanceled, c.bCanceled);
    Sleep(100);
    EXPECT_EQ(bench.Frames(), c.frames);
    EXPECT_EQ(bench.host.Calls(), c.calls);
    EXPECT_EQ(bench.state.Lock()->m_Params.PumpTime, 5U);
  }
}

}  // namespace
}  // namespace photometer::tests
