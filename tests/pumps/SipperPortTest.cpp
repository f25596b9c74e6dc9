#include <atomic>

#include "PumpBench.h"

namespace photometer::tests {
namespace {

bool IsSignalled(HANDLE hEvent) { return WaitForSingleObject(hEvent, 0) == WAIT_OBJECT_0; }

TEST(SipperPort, DetectedOnce) {
  PumpBench bench(MODE_ZQ_420);
  SetEvent(bench.state.SipperLostEvent());
  bench.sipper.SendSipperPing();
  Sleep(100);
  bench.sipper.SendSipperPing();
  bench.Say("\x02pp\x03");
  EXPECT_EQ(bench.host.Calls(), (Texts{"Info", "Connected"}));
  EXPECT_TRUE(bench.Detected());
  EXPECT_FALSE(IsSignalled(bench.state.SipperLostEvent()));
}

TEST(SipperPort, DataAndRunTime) {
  const struct {
    const char* frame;
    Texts known;  // data, version, running time
    Texts calls;
  } cases[] = {
      {"d;A12;B3;1.04", {"A12", "B3", "1.04", ""}, {"Info"}},
      {"d;;B3;1.04;x", {"", "B3", "1.04;x", ""}, {"Info"}},
      {"d;A12", {"A12", "", "", ""}, {"Info"}},
      {"t;255;5;7;9", {"", "", "", "5:07:09"}, {}},
      {"t;1;2;3;4", {"", "", "", "26:03:04"}, {}},
      {"t;1; 2x;;-4;9", {"", "", "", "26:00:-4"}, {}},
      {"t;", {"", "", "", "0:00:00"}, {}},
      {"t;2147483647;2147483647;99999999999;+5", {"", "", "", "53687091175:00:05"}, {}},
      {"x", {"", "", "", ""}, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.frame);
    PumpBench bench(MODE_ZQ_420);
    bench.Say("\x03noise" + Framed(c.frame));
    const PumpInfo info = bench.Info();
    EXPECT_EQ((Texts{info.m_strSipperData1, info.m_strSipperData2, info.m_strPumpVersion, info.m_strSipperRunTime}),
              c.known);
    EXPECT_EQ(bench.host.Calls(), c.calls);
  }
}

TEST(SipperPort, AsksForDataThenForTheRunTimeThenForNothing) {
  PumpBench bench(MODE_ZQ_420);
  EXPECT_EQ(bench.ports.settings.back(), "19200 8 0");
  for (int i = 0; i < 4; ++i) {
    bench.sipper.RequestSipperData();
    Sleep(300);
  }
  EXPECT_EQ(bench.Frames(), (Texts{"e", "d", "t"})) << "the opening stops a pump that was left running";
}

TEST(SipperPort, LostUntilOpenedAndAnswered) {
  PumpBench bench(MODE_ZQ_420);
  bench.Say(
      "\x02p\x03\x02"
      "d;A;B;C\x03");
  bench.TakeCalls();
  bench.world.board.UnplugPort(PumpBench::SIPPER);
  Sleep(100);
  EXPECT_EQ(bench.TakeCalls(), Texts{"Lost"});
  EXPECT_FALSE(bench.Detected());
  EXPECT_EQ(bench.Info().m_strSipperData1, "");
  bench.sipper.SuperviseZQ420();
  EXPECT_EQ(bench.sipper.OpenSipperPort(), 0);
  bench.sipper.SuperviseZQ420();
  EXPECT_EQ(bench.TakeCalls(), (Texts{"PortLost", "PortLost"}));
  EXPECT_TRUE(IsSignalled(bench.state.SipperLostEvent()));
  bench.world.board.PlugPort(PumpBench::SIPPER, bench.zq420);
  EXPECT_EQ(bench.sipper.OpenSipperPort(), 1);
  bench.sipper.SuperviseZQ420();
  EXPECT_TRUE(IsSignalled(bench.state.SipperLostEvent()));
  bench.Say("\x02p\x03");
  EXPECT_EQ(bench.TakeCalls(), (Texts{"Tick", "Info", "Connected"}));
  EXPECT_FALSE(IsSignalled(bench.state.SipperLostEvent()));
}

TEST(SipperPort, OpeningAnOpenPortLosesIt) {
  PumpBench bench(MODE_ZQ_420);
  bench.Say("\x02p\x03");
  bench.TakeCalls();
  // The host opens the port again as soon as it hears of the loss.
  std::atomic<LONG> iOpened = -1;
  bench.host.On("Lost", [&] { iOpened = bench.sipper.OpenSipperPort(); });
  EXPECT_EQ(bench.sipper.OpenSipperPort(), 0);
  Sleep(300);
  EXPECT_EQ(iOpened, 1);
  EXPECT_EQ(bench.TakeCalls(), Texts{"Lost"});
  bench.sipper.SendSipperPing();
  Sleep(300);
  EXPECT_EQ(bench.TakeCalls(), (Texts{"Info", "Connected"}));
}

TEST(SipperPort, SuperviseReportsACycleOnce) {
  PumpBench bench(MODE_ZQ_420);
  bench.state.Lock()->m_PumpInfo.m_bSipperCycleDone = TRUE;
  bench.host.On("CycleDone", [&] { EXPECT_FALSE(bench.Info().m_bSipperCycleDone); });
  bench.sipper.SuperviseZQ420();
  bench.sipper.SuperviseZQ420();
  EXPECT_EQ(bench.host.Calls(), (Texts{"CycleDone", "Tick"}));
}

TEST(SipperPort, NothingOpensWhileTheDeviceStops) {
  PumpBench bench(MODE_ZQ_420);
  bench.Stop();
  EXPECT_EQ(bench.sipper.OpenSipperPort(), 0);
  EXPECT_FALSE(bench.sipper.Line().Port().IsLost());
}

}  // namespace
}  // namespace photometer::tests
