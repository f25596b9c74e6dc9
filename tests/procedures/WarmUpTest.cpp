#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "monitors/LampBench.h"
#include "platform/Platform.h"
#include "procedures/WarmUp.h"

namespace photometer::tests {
namespace {

using namespace platform;  // NOLINT(google-build-using-namespace)

std::string Closed(DWORD dwResult) {
  return "[WarmUpProc] ----->  Thread closed with iResult= " + std::to_string(dwResult);
}

/// The commands written during one warm-up.
Texts RunWarmUp(LampBench& bench, DWORD dwSession = 0) {
  const std::size_t nBefore = bench.world.Written().size();
  EXPECT_EQ(bench.lamp.SetUVLamp(TRUE, dwSession), S_OK);
  bench.WaitUntilNotBusy();
  const Texts written = bench.world.Written();
  return {written.begin() + static_cast<std::ptrdiff_t>(nBefore), written.end()};
}

TEST(WarmUp, SetsTheOpticsAndLightsTheLamp) {
  LampBench bench;
  bench.PowerUp();
  bench.state.Lock()->m_MeasureRequest.m_dLampSwitchingPoint = 340.0;
  EXPECT_EQ(RunWarmUp(bench), (Texts{"$S50", "$A9", "$i1", "$r2", "$F0", "$H0", "$g1", "$M2162",  // 190 nm
                                     "$M2504", "$a3", "$d1", "$a3", "$f7",                        // its light, 220 nm
                                     "$M2162", "$r0", "$h0"}));
  bench.ExpectAgreement(true);
  EXPECT_EQ(bench.world.unit.State().mirror, 0);
  EXPECT_EQ(bench.world.unit.State().position, bench.model.GetMonochromatorPosition(190.0));
  EXPECT_EQ(bench.world.LogLines("[WarmUpProc] ----->  Thread started"), 1U);
  EXPECT_EQ(bench.world.LogLines(Closed(0)), 1U);
  EXPECT_NE(bench.world.board.DebugText().find(u"[WarmUpProc] ----->  Thread closed with iResult= 0"),
            std::u16string::npos);
  EXPECT_EQ(WaitForSingleObject(bench.state.WarmUpDoneEvent(), 100), WAIT_OBJECT_0);
  EXPECT_LE(GetTickCount() - bench.state.Lock()->m_Status.dwLastActivityTick, 500U);
  // Again: the lamp burns, and what it does not need any more is not sent.
  EXPECT_EQ(RunWarmUp(bench), (Texts{"$r2", "$r0"}));
  EXPECT_EQ(bench.world.LogLines(Closed(0)), 2U);
}

TEST(WarmUp, StopsAtTheFirstFailure) {
  const Texts end{"$r0", "$h0"};
  const Texts darkEnd{"$d0", "$f0", "$r0", "$h0"};
  struct {
    char letter;
    DWORD dwResult;
    /// Commands up to the failing one, and those behind it.
    std::size_t nSent;
    Texts after;
  } const cases[] = {{'S', 104, 1, end}, {'M', 114, 8, end}, {'d', 74, 11, darkEnd}, {'f', 174, 13, darkEnd}};
  for (const auto& c : cases) {
    SCOPED_TRACE(c.letter);
    LampBench bench;
    bench.PowerUp();
    bench.world.unit.WireFaults().Add({.kind = simulator::FaultKind::Error, .letter = c.letter, .nth = 1});
    const Texts written = RunWarmUp(bench, 4);
    ASSERT_GT(written.size(), c.nSent);
    EXPECT_EQ(written.at(c.nSent - 1).at(1), c.letter);
    EXPECT_EQ(Texts(written.begin() + static_cast<std::ptrdiff_t>(c.nSent), written.end()), c.after);
    EXPECT_EQ(bench.world.LogLines(Closed(c.dwResult)), 1U);
    EXPECT_FALSE(bench.BurnsAtUnit());
    // Nothing is left that a later lamp could inherit; nobody but the log is told.
    EXPECT_EQ(bench.Session().m_dwUVSession, 0U);
    EXPECT_EQ(bench.Session().m_dwWarmUpCountdown, DEFAULT_WARM_UP_COUNTDOWN);
    EXPECT_EQ(bench.host.Calls().size(), 1U) << "the question for the warm-up time";
    EXPECT_EQ(WaitForSingleObject(bench.state.WarmUpDoneEvent(), 100), WAIT_OBJECT_0);
    EXPECT_FALSE(RunWarmUp(bench).empty());
    bench.ExpectAgreement(true);
  }
}

TEST(WarmUp, CancelDoesNotEndItAndDoesNotOutliveIt) {
  World world;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  ASSERT_EQ(device->SetUVLamp(TRUE, 0), S_OK);
  Sleep(20'000);
  EXPECT_EQ(device->CancelMeasurement(), S_OK);
  ASSERT_TRUE(device.WaitUntilNotBusy());
  EXPECT_FALSE(device->GetStatus().bCancel);
  EXPECT_TRUE(device->GetStatus().bUVLampOn);
  device.Close();
  world.ExpectClean();
}

}  // namespace
}  // namespace photometer::tests
