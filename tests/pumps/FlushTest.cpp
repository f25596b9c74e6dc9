#include "PumpBench.h"
#include "procedures/Flush.h"
#include "procedures/PumpAndDelay.h"

namespace photometer::tests {
namespace {

using simulator::Fault;
using simulator::FaultKind;

const std::vector<Fault> SOUND;
const std::vector<Fault> SILENT{{.kind = FaultKind::Silence}};
const std::vector<Fault> BOTH_ENDS{{.kind = FaultKind::Garbage, .bytes = Framed("h2;b") + Framed("h3;a")}};
/// Of the ZQ-420, at the start.
std::vector<Fault> StartFault(std::size_t nNumber) {
  return {{.kind = FaultKind::Error, .letter = 's', .count = nNumber}};
}

TEST(Flush, Ends) {
  const struct {
    const char* what;
    LONG iMode;
    std::vector<Fault> faults;
    const char* chatter;  // each second
    DWORD dwCancelMs;
    DWORD dwEndMs;
    const char* call;
  } cases[] = {
      {"ZQ-410 cannot be cancelled", 1, SOUND, "", 1000, 5000, "Flushed"},
      {"failure first", 1, BOTH_ENDS, "", 0, 5000, "PumpError 0 524"},
      {"silent", 1, SILENT, "", 0, 60'000, "PumpError 0 522"},
      {"noise", 1, SILENT, "x", 0, 600'000, "PumpError 0 522"},
      {"too long", 1, SILENT, "\x02y;a\x03", 0, 204'000, "PumpError 0 523"},
      {"ZQ-420", 2, SOUND, "", 0, 3000, "Flushed"},
      {"ZQ-420 cancelled", 2, SOUND, "", 1000, 1000, "Flushed"},
      {"pass-through mode", 0, SOUND, "", 0, 3000, "Flushed"},
      {"ZQ-420 failed", 2, StartFault(5), "", 0, 500, "PumpError 0 616"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PumpBench bench(c.iMode);
    bench.Detect();
    bench.Cancel();  // of a run, which has yet to notice
    bench.Faults(c.faults);
    bench.Chatter(c.chatter, 620);
    bench.state.Lock()->m_Status.bInitialized = TRUE;
    EXPECT_EQ(bench.flush.StartFlush(3), S_OK);
    if (c.dwCancelMs != 0) {
      bench.After(c.dwCancelMs, [&] { EXPECT_EQ(bench.flush.CancelFlush(), S_OK); });
    }
    Sleep(c.dwEndMs - 500);
    EXPECT_EQ(bench.host.Calls(), Texts{});
    Sleep(1000);
    EXPECT_EQ(bench.host.Calls(), Texts{c.call});
    bench.world.kernel.threads.Start(1);
    EXPECT_EQ(bench.flush.StartFlush(3), E_FAIL) << "without a thread";
    bench.world.kernel.events.Start(1);
    EXPECT_EQ(bench.flush.StartFlush(3), E_FAIL) << "without an event";
  }
}

TEST(Flush, RunsWithoutAnInitialisedDevice) {
  const struct {
    LONG iMode;
    BOOL bDetected;
    const char* call;
  } cases[] = {{MODE_ZQ_410, TRUE, "PumpError 0 525"}, {0, TRUE, "PumpError 0 612"}, {0, FALSE, "PumpError 0 614"}};
  for (const auto& c : cases) {
    World world;
    PumpSink host(world.board, world.transcript);
    Device device(world);
    device->SetSink(&host);
    device->SetOperatingMode(c.iMode);
    device->SetSipperDetected(c.bDetected);
    EXPECT_EQ(device->StartFlush(3), E_FAIL);
    EXPECT_TRUE(world.WaitForThreads());
    EXPECT_EQ(host.Calls(), Texts{c.call});
    device.Close();
    world.ExpectClean();
  }
}

// ---- the sample intake of the measurement ----

/// What the tests of the procedures do not show: a cycle that the pump has made by itself, and the ZQ-420's programs.
TEST(PumpAndDelay, Intake) {
  const Texts delay{"Countdown 9 2", "Countdown 9 1", "Countdown 9 0"};
  const Texts hostsDelay{"Program 4", "Countdown 9 1", "Countdown 9 0"};
  const Texts cycle{"e", "s", "e"};
  const struct {
    const char* what;
    LONG iMode;
    BOOL bDetected;
    BOOL bReported;
    DWORD dwProgram;
    BOOL bDefaults;
    bool bCancel;
    Texts frames;
    Texts calls;
  } cases[] = {
      {"by itself", 1, TRUE, TRUE, 0, FALSE, false, {}, delay},
      {"by itself, then lost", 1, FALSE, TRUE, 0, FALSE, false, {}, delay},
      {"ZQ-420 without program", 2, TRUE, FALSE, 0, FALSE, false, {"e"}, {}},
      {"ZQ-420 with program", 2, TRUE, FALSE, 4, FALSE, false, cycle, hostsDelay},
      {"ZQ-420 cancelled", 2, TRUE, FALSE, 4, TRUE, true, cycle, {}},
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
    if (c.bCancel) {
      bench.After(500, [&] { bench.Cancel(); });
    }
    LONG iResult = -1;
    EXPECT_EQ(PumpAndDelay(bench.state, bench.sink, bench.pumps).Run(&iResult), !c.bCancel);
    EXPECT_EQ(iResult, 0);
    Sleep(100);
    EXPECT_EQ(bench.Frames(), c.frames);
    EXPECT_EQ(bench.host.Calls(), c.calls);
    EXPECT_EQ(bench.state.Lock()->m_Params.PumpTime, 5U);
  }
}

}  // namespace
}  // namespace photometer::tests
