#include <atomic>

#include "PumpBench.h"

namespace photometer::tests {
namespace {

bool IsSignalled(HANDLE hEvent) { return WaitForSingleObject(hEvent, 0) == WAIT_OBJECT_0; }

// What sound frames mean, the corpus of the fuzz target shows.

TEST(SipperPort, RunTimeOfOddNumbers) {
  const std::pair<const char*, const char*> cases[] = {
      {"t;255; 2x;;-4;9", "2:00:-4"},
      {"t;2147483647;2147483647;99999999999;+5", "53687091175:00:05"},
  };
  for (const auto& [frame, runTime] : cases) {
    PumpBench bench(MODE_ZQ_420);
    bench.Say("\x03noise" + Framed(frame));
    EXPECT_EQ(bench.Info().m_strSipperRunTime, runTime);
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
  bench.Say(Framed("p") + Framed("d;A;B;C"));
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
