#include <tuple>

#include "PumpBench.h"
#include "procedures/Flush.h"
#include "procedures/PumpAndDelay.h"

namespace photometer::tests {
namespace {

using simulator::Fault;
using simulator::FaultKind;

const std::vector<Fault> SOUND;
const std::vector<Fault> SILENT{{.kind = FaultKind::Silence}};
const std::vector<Fault> FAILED{{.kind = FaultKind::Error}};
const std::vector<Fault> PIECES{{.kind = FaultKind::Split, .delay = 800'000, .count = 3}};
const std::vector<Fault> BOTH_ENDS{{.kind = FaultKind::Garbage, .bytes = Framed("h2;b") + Framed("h3;a")}};
const std::vector<Fault> TOO_LONG{{.kind = FaultKind::StaleBefore, .bytes = std::string(1025, 'x')}};
/// Of the ZQ-420, at the start.
std::vector<Fault> StartFault(std::size_t nNumber) {
  return {{.kind = FaultKind::Error, .letter = 's', .count = nNumber}};
}

TEST(Flush, Ends) {
  const struct {
    const char* what;
    LONG iMode;
    std::vector<Fault> faults;
    DWORD dwCancelMs;
    const char* call;
  } cases[] = {
      {"ZQ-410", 1, SOUND, 0, "Flushed"},
      {"in pieces", 1, PIECES, 0, "Flushed"},
      {"cannot be cancelled", 1, SOUND, 1000, "Flushed"},
      {"failed", 1, FAILED, 0, "PumpError 0 524"},
      {"failure first", 1, BOTH_ENDS, 0, "PumpError 0 524"},
      {"silent", 1, SILENT, 0, "PumpError 0 522"},
      {"too long", 1, TOO_LONG, 0, "PumpError 0 523"},
      {"ZQ-420", 2, SOUND, 0, "Flushed"},
      {"cancelled", 2, SOUND, 1000, "Flushed"},
      {"pass-through mode", 0, SOUND, 0, "Flushed"},
      {"ZQ-420 failed", 2, StartFault(5), 0, "PumpError 0 616"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PumpBench bench(c.iMode);
    bench.Detect();
    SetEvent(bench.state.PumpCancelEvent());  // of an earlier flush
    bench.Faults(c.faults);
    bench.state.Lock()->m_Status.bInitialized = TRUE;
    EXPECT_EQ(bench.flush.StartFlush(3), S_OK);
    if (c.dwCancelMs != 0) {
      Sleep(c.dwCancelMs);
      EXPECT_EQ(bench.flush.CancelFlush(), S_OK);
      Sleep(20);
      EXPECT_EQ(bench.host.Calls().size(), c.iMode == MODE_ZQ_420 ? 1U : 0U);
    }
    Sleep(62'000);
    EXPECT_EQ(bench.host.Calls(), Texts{c.call});
    bench.world.kernel.threads.Start(1);
    EXPECT_EQ(bench.flush.StartFlush(3), E_FAIL) << "without a thread";
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
    bench.Faults(SILENT);
    bench.Chatter(c.bytes, 620);
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
      PumpSink host(world.board, world.transcript);
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

// ---- the sample intake of the measurement ----

TEST(PumpAndDelay, Intake) {
  const Texts delay{"Countdown 9 2", "Countdown 9 1", "Countdown 9 0"};
  const Texts hostsDelay{"Program 4", "Countdown 9 1", "Countdown 9 0"};
  const Texts cycle410{"H;005;120", "H1;a"};
  const Texts cycle420{"e", "s", "e"};
  const auto goOn = std::tuple(true, 0, false);
  const auto failed = std::tuple(false, 0, false);
  const auto cancelled = std::tuple(false, 0, true);
  const struct {
    const char* what;
    LONG iMode;
    BOOL bDetected;
    BOOL bReported;
    DWORD dwProgram;
    BOOL bDefaults;
    std::vector<Fault> faults;
    DWORD dwCancelMs;
    std::tuple<bool, LONG, bool> outcome;
    Texts frames;
    Texts calls;
  } cases[] = {
      {"no pump", 1, FALSE, FALSE, 0, FALSE, SOUND, 0, goOn, {}, {}},
      {"ZQ-410", 1, TRUE, FALSE, 0, FALSE, SOUND, 0, goOn, cycle410, delay},
      {"by itself", 1, TRUE, TRUE, 0, FALSE, SOUND, 0, goOn, {}, delay},
      {"by itself, then lost", 1, FALSE, TRUE, 0, FALSE, SOUND, 0, goOn, {}, delay},
      {"parameters fail", 1, TRUE, FALSE, 0, FALSE, SILENT, 0, {false, 532, false}, {"H;005;120"}, {}},
      {"cycle fails", 1, TRUE, FALSE, 0, FALSE, FAILED, 0, failed, cycle410, {}},
      {"cancelled", 1, TRUE, FALSE, 0, FALSE, SOUND, 500, cancelled, cycle410, {}},
      {"ZQ-420 without program", 2, TRUE, FALSE, 0, FALSE, SOUND, 0, goOn, {"e"}, {}},
      {"ZQ-420 with defaults", 2, TRUE, FALSE, 4, TRUE, SOUND, 0, goOn, cycle420, delay},
      {"ZQ-420 with program", 2, TRUE, FALSE, 4, FALSE, SOUND, 0, goOn, cycle420, hostsDelay},
      {"ZQ-420 cancelled", 2, TRUE, FALSE, 4, TRUE, SOUND, 500, cancelled, cycle420, {}},
      {"ZQ-420 fails", 2, TRUE, FALSE, 4, TRUE, StartFault(6), 0, failed, {"e", "s"}, {"PumpError 0 617"}},
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
    bench.Faults(c.faults);
    if (c.dwCancelMs != 0) {
      bench.After(c.dwCancelMs, [&] { bench.Cancel(); });
    }
    LONG iResult = -1;
    bool bCanceled = false;
    const bool bGoOn = PumpAndDelay(bench.state, bench.sink, bench.pumps).Run(&iResult, &bCanceled);
    EXPECT_EQ(std::tuple(bGoOn, iResult, bCanceled), c.outcome);
    Sleep(100);
    EXPECT_EQ(bench.Frames(), c.frames);
    EXPECT_EQ(bench.host.Calls(), c.calls);
    EXPECT_EQ(bench.state.Lock()->m_Params.PumpTime, 5U);
  }
}

}  // namespace
}  // namespace photometer::tests
