#include "PumpBench.h"
#include "support/Density.h"
#include "support/UsedMemory.h"

namespace photometer::tests {
namespace {

using simulator::FaultKind;

// ---- opening and settings ----

TEST(ExternalPort, SettingsFollowTheMode) {
  PumpBench host(0);
  EXPECT_EQ(host.ports.settings, (Texts{"115200 8 0", "9600 8 0", "9600 8 0"}));
  host.ports.settings.clear();
  EXPECT_EQ(host.external.SetExternalPortSettings(4800, 7, 2), S_OK);
  EXPECT_EQ(host.external.ResetExternalPortSettings(), S_OK);
  host.state.Lock()->m_Params.dwOperatingMode = MODE_ZQ_410;
  EXPECT_EQ(host.external.ResetExternalPortSettings(), S_OK);
  EXPECT_EQ(host.external.SetExternalPortSettings(9600, 264, 256), S_OK);
  EXPECT_EQ(host.ports.settings, (Texts{"4800 7 2", "4800 7 2", "19200 8 0", "9600 255 255"}));
  EXPECT_EQ(host.state.Lock()->m_Params.dwByteSize, 264U);

  PumpBench pump(MODE_ZQ_410);
  EXPECT_EQ(pump.ports.settings, (Texts{"115200 8 0", "19200 8 0", "9600 8 0"}));
}

// ---- the ZQ-410 ----

/// What is known of the pump.
struct Known {
  BOOL bDetected = FALSE;
  BOOL bAcknowledged = FALSE;
  BOOL bCycle = FALSE;
  std::string version;
  bool operator==(const Known&) const = default;
};

TEST(ExternalPort, Frames) {
  const struct {
    const char* what;
    Texts pieces;
    Texts calls;
    Known known;
  } cases[] = {
      {"keep-alives", {"\x02y;a\x03\x02y;a\x03", "\x02y;", "a\x03"}, {"Connected"}, {TRUE, FALSE, FALSE, ""}},
      {"not exactly", {"\x02y;ab\x03\x02xy;a\x03"}, {}, {}},
      {"acknowledged", {"\x02h;005;120\x03"}, {}, {FALSE, TRUE, FALSE, ""}},
      {"keys", {"\x02xh1;a\x03\x02h1;bx\x03"}, {"KeyA", "KeyB"}, {FALSE, FALSE, TRUE, ""}},
      {"version", {"\x02v;ZQ410;01.07\x03"}, {}, {FALSE, FALSE, FALSE, "V01.07"}},
      {"version further on", {"\x02xx v;ZQ410;12x34...\x03"}, {}, {FALSE, FALSE, FALSE, "V12.34"}},
      {"version too short", {"\x02v;ZQ410;01.0\x03"}, {}, {}},
      {"banner", {"VELTRANOMETRIK ZQ-4", "10..V0", "1.08\x02h;\x03"}, {}, {FALSE, TRUE, FALSE, "V01.08"}},
      {"garbage", {"\x03gar\x03", "bage\x03\x02h;\x03\x02z\x03"}, {}, {FALSE, TRUE, FALSE, ""}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    PumpBench bench(MODE_ZQ_410);
    for (const std::string& piece : c.pieces) {
      bench.Say(piece);
    }
    const PumpInfo info = bench.Info();
    const Known known{bench.Detected(), info.m_bPumpParamsAcknowledged, info.m_bPumpCycleReported,
                      info.m_strPumpVersion};
    EXPECT_EQ(bench.host.Calls(), c.calls);
    EXPECT_TRUE(known == c.known);
  }
}

TEST(ExternalPort, KeepAliveParametersVersion) {
  PumpBench bench(MODE_ZQ_410);
  bench.Faults({{.kind = FaultKind::Silence, .letter = 'H', .nth = 1},
                {.kind = FaultKind::Silence, .letter = 'H', .nth = 2},
                {.kind = FaultKind::Late, .letter = 'V', .delay = 2'500'000}});
  bench.zq410.StopKeepAlive(simulator::Never);
  bench.StartTimer();
  Sleep(8'000);
  EXPECT_EQ(bench.host.Calls(), Texts{"Connected"});
  EXPECT_EQ(bench.Info().m_strPumpVersion, "V01.07");
  EXPECT_EQ(bench.zq410.AnsweredKeepAlives(), bench.zq410.SentKeepAlives());
  Texts asked = bench.Frames();
  std::erase(asked, "Y;a");
  EXPECT_EQ(asked, (Texts{"H;005;120", "H;005;120", "H;005;120", "V;a"}));
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
    const char* bytes;
    HRESULT result;
    std::size_t nFrames;
  } const cases[] = {
      {FALSE, FALSE, "\x02x\x03", S_OK, 1}, {TRUE, FALSE, "\x02x\x03", E_FAIL, 0}, {TRUE, FALSE, "", S_OK, 0},
      {TRUE, TRUE, "\x02x\x03", S_OK, 1},   {FALSE, TRUE, "\x02x\x03", S_OK, 1},
  };
  for (const auto& c : cases) {
    PumpBench bench(0);
    bench.state.Lock()->m_Status.bBusy = c.bBusy;
    bench.state.Lock()->m_Status.bInitialized = c.bInitialized;
    EXPECT_EQ(bench.external.WriteExternalPort(c.bytes), c.result);
    Sleep(100);
    EXPECT_EQ(bench.Frames().size(), c.nFrames);
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
