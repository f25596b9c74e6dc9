#include "PumpBench.h"
#include "support/Density.h"
#include "support/UsedMemory.h"

namespace photometer::tests {
namespace {

// ---- opening and settings ----

TEST(ExternalPort, SettingsFollowTheMode) {
  PumpBench host(0);
  EXPECT_EQ(host.ports.settings, (Texts{"9600 8 0", "9600 8 0"}));
  host.ports.settings.clear();
  EXPECT_EQ(host.external.SetExternalPortSettings(4800, 7, 2), S_OK);
  EXPECT_EQ(host.external.ResetExternalPortSettings(), S_OK);
  host.state.Lock()->m_Params.dwOperatingMode = MODE_ZQ_410;
  EXPECT_EQ(host.external.ResetExternalPortSettings(), S_OK);
  EXPECT_EQ(host.external.SetExternalPortSettings(9600, 264, 256), S_OK);
  EXPECT_EQ(host.ports.settings, (Texts{"4800 7 2", "4800 7 2", "19200 8 0", "9600 255 255"}));
  EXPECT_EQ(host.state.Lock()->m_Params.dwByteSize, 264U);

  PumpBench pump(MODE_ZQ_410);
  EXPECT_EQ(pump.ports.settings, (Texts{"19200 8 0", "9600 8 0"}));
  pump.link.CloseOpticalPort();
  EXPECT_TRUE(pump.link.OpenOpticalPort());
  EXPECT_EQ(pump.ports.settings.back(), "115200 8 0");
}

// ---- the ZQ-410 ----

// What its frames mean, the corpus of the fuzz target shows.

TEST(ExternalPort, BannerTellsTheVersion) {
  PumpBench bench(MODE_ZQ_410);
  for (const char* const piece : {"garbage\x03VELTRANOMETRIK ZQ-4", "10..V0", "1.08\x02h;\x03"}) {
    bench.Say(piece);
  }
  EXPECT_EQ(bench.Info().m_strPumpVersion, "V01.08");
  EXPECT_TRUE(bench.Info().m_bPumpParamsAcknowledged) << "what follows is interpreted";
}

TEST(ExternalPort, LossAndReturn) {
  for (const DWORD dwStartTick : {1000U, 0xFFFFFF00U, 0xFFFFF9C0U}) {  // some wrap within the wait
    SCOPED_TRACE(dwStartTick);
    PumpBench bench(MODE_ZQ_410, {.startTick = dwStartTick});
    bench.Say("\x02y;a\x03\x02h;\x03\x02v;ZQ410;01.07\x03");
    bench.state.Lock()->m_PumpInfo.m_dwPumpContactTick = GetTickCount();
    bench.externalBuffer.SetCapture(true);
    Sleep(3500);
    bench.external.SuperviseZQ410();
    EXPECT_TRUE(bench.Detected());
    Sleep(1);
    bench.external.SuperviseZQ410();
    EXPECT_FALSE(bench.Detected());
    EXPECT_FALSE(bench.Info().m_bPumpCapture);
    EXPECT_FALSE(bench.Info().m_bPumpParamsAcknowledged);
    EXPECT_EQ(bench.Info().m_strPumpVersion, "");
    bench.Say("\x02y;a\x03");
    EXPECT_EQ(bench.host.Calls(), (Texts{"Connected", "Lost", "Connected"}));
  }
}

TEST(ExternalPort, WhatAnExchangeCapturesIsNotInterpreted) {
  PumpBench bench(MODE_ZQ_410);
  bench.Say("\x02y;");
  bench.externalBuffer.SetCapture(true);
  const DWORD dwBefore = bench.Info().m_dwPumpContactTick;
  bench.Say("a\x03\x02y;a\x03\x02h1;b\x03");
  EXPECT_NE(bench.Info().m_dwPumpContactTick, dwBefore);
  bench.externalBuffer.SetCapture(false);
  EXPECT_EQ(bench.host.Calls(), Texts{});
  EXPECT_EQ(bench.Frames(), Texts{});
  bench.Say("\x02y;a\x03");  // not the end of what began before
  EXPECT_EQ(bench.host.Calls(), Texts{"Connected"});
}

// ---- pass-through ----

TEST(ExternalPort, PassThrough) {
  PumpBench bench(0);
  bench.Say("\x02y;a\x03");
  bench.host.SetReply("reply");
  bench.Say("hello");
  EXPECT_EQ(bench.world.transcript.Texts("COM1>"), Texts{"reply"});
  EXPECT_EQ(bench.TakeCalls(), (Texts{"Data \\x02y;a\\x03", "Data hello"}));
  bench.sink.SetSink(nullptr);
  bench.Say("nobody");
  bench.sink.SetSink(&bench.host);
  bench.Say("again");
  EXPECT_EQ(bench.host.Calls(), Texts{"Data again"});
}

TEST(ExternalPort, HostBytes) {
  struct {
    BOOL bBusy;
    BOOL bInitialized;
    HRESULT result;
  } const cases[] = {{FALSE, FALSE, S_OK}, {TRUE, FALSE, E_FAIL}, {TRUE, TRUE, S_OK}};
  for (const auto& c : cases) {
    PumpBench bench(0);
    bench.state.Lock()->m_Status.bBusy = c.bBusy;
    bench.state.Lock()->m_Status.bInitialized = c.bInitialized;
    EXPECT_EQ(bench.external.WriteExternalPort(""), S_OK);
    EXPECT_EQ(bench.external.WriteExternalPort("\x02x\x03"), c.result);
    Sleep(100);
    EXPECT_EQ(bench.Frames(), c.result == S_OK ? Texts{"x"} : Texts{});
  }
}

// ---- floods ----

TEST(ExternalPort, FloodDoesNotGrow) {
  for (const LONG iMode : {0, MODE_ZQ_410, MODE_ZQ_420}) {
    for (const bool bCapture : {false, true}) {
      SCOPED_TRACE(std::to_string(iMode) + (bCapture ? " captured" : ""));
      PumpBench bench(iMode);
      platform::SetBoard(&bench.world.faulty);  // without a transcript of it all
      bench.sink.SetSink(nullptr);
      bench.externalBuffer.SetCapture(bCapture);
      bench.sipperBuffer.SetCapture(bCapture);
      const std::size_t nBefore = UsedBytes();
      const simulator::Time now = bench.world.board.Now();
      bench.Line().Flood().Start(now, now + RunCount(100) * 1000, 1'000'000'000, "g\x02");  // 100 MB
      Sleep(1000);
      EXPECT_LT(UsedBytes(), nBefore + MEMORY_GROWTH_LIMIT);
      EXPECT_EQ(bench.world.LogLines("port full, oldest bytes dropped"), iMode == 0 && !bCapture ? 0U : 1U);
      bench.externalBuffer.SetCapture(false);
      bench.sipperBuffer.SetCapture(false);
      bench.sink.SetSink(&bench.host);
      bench.Say("\x03");
      bench.TakeCalls();
      bench.Say(iMode == MODE_ZQ_420 ? "\x02p\x03" : "\x02y;a\x03");
      EXPECT_EQ(bench.host.Calls().size(), iMode == MODE_ZQ_420 ? 2U : 1U);
    }
  }
}

}  // namespace
}  // namespace photometer::tests
