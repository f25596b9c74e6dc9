#include <algorithm>
#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "monitors/LampBench.h"
#include "platform/Platform.h"
#include "procedures/UVLamp.h"

namespace photometer::tests {
namespace {

using namespace platform;  // NOLINT(google-build-using-namespace)

bool operator==(const UVSession& a, const UVSession& b) {
  return a.m_dwUVSession == b.m_dwUVSession && a.m_dwUVSessionStartTick == b.m_dwUVSessionStartTick &&
         a.m_dwUVWarmUpLimit == b.m_dwUVWarmUpLimit && a.m_dwWarmUpCountdown == b.m_dwWarmUpCountdown;
}

const UVSession SOME_SESSION{3, 12345, 600, 600};

void ClosePort(LampBench& bench) {
  Sleep(10);  // the reader waits in its read
  bench.link.CloseOpticalPort();
}

TEST(UVLamp, WarmUpTakesTheTimeOfTheSession) {
  struct {
    DWORD dwSession;
    DWORD dwAnswer;
    bool bSink;
    std::size_t nQuestions;
    DWORD dwSeconds;
  } const cases[] = {
      {0, 33, true, 0, 90},
      {7, 0, true, 1, 600},
      {7, 33, false, 0, 600},
      {0xFFFFFFFF, 33, true, 1, 33},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(std::to_string(c.dwSession) + "/" + std::to_string(c.dwAnswer));
    LampBench bench;
    bench.LookAtLamp();
    bench.host.Answer({FALSE, 0, FALSE, c.dwAnswer});
    bench.sink.SetSink(c.bSink ? &bench.host : nullptr);
    const DWORD dwStart = GetTickCount();
    EXPECT_EQ(bench.lamp.SetUVLamp(TRUE, c.dwSession), S_OK);
    EXPECT_TRUE(bench.IsBusy());
    const bool bSession = c.dwSession != 0;
    EXPECT_TRUE(bench.Session() ==
                (bSession ? UVSession{c.dwSession, dwStart, c.dwSeconds, c.dwSeconds} : UVSession{}));
    EXPECT_EQ(bench.host.Calls().size(), c.nQuestions);
    bench.WaitUntilNotBusy();
    const DWORD dwSeconds = (GetTickCount() - dwStart) / 1000;
    EXPECT_GE(dwSeconds, c.dwSeconds);
    EXPECT_LE(dwSeconds, c.dwSeconds + 6);
    bench.ExpectAgreement(true);
    EXPECT_EQ(bench.Session().m_dwUVSession, c.dwSession);
  }
}

TEST(UVLamp, SwitchingOnWithoutASessionKeepsTheOneThatRuns) {
  LampBench bench;
  bench.Light();
  bench.SetSession(SOME_SESSION);
  EXPECT_EQ(bench.lamp.SetUVLamp(TRUE, 0), S_OK);
  bench.WaitUntilNotBusy();
  EXPECT_TRUE(bench.Session() == (UVSession{3, 12345, 600, 90}));
  bench.ExpectAgreement(true);
}

/// The host is asked for the warm-up time without the state lock: a procedure may begin meanwhile.
void BeginWhenAsked(LampBench& bench) {
  bench.host.On("WarmUpTime?", [&bench] {
    const HANDLE hThread = CreateThread([&bench] { bench.SetBusy(TRUE); }, "other host", nullptr);
    WaitForSingleObject(hThread, INFINITE);
    CloseHandle(hThread);
  });
}

TEST(UVLamp, OnIsRefused) {
  const std::pair<const char*, std::function<void(LampBench&)>> cases[] = {
      {"busy", [](LampBench& b) { b.SetBusy(TRUE); }},
      {"busy meanwhile", BeginWhenAsked},
      {"no table", [](LampBench& b) { b.model.FreeTable(); }},
      {"no port", ClosePort},
      {"stopping", [](LampBench& b) { b.state.RaiseStop(); }},
      {"no thread", [](LampBench& b) { b.world.kernel.threads.Start(1); }},
  };
  for (const auto& [what, hinder] : cases) {
    SCOPED_TRACE(what);
    LampBench bench;
    bench.SetSession(SOME_SESSION);
    hinder(bench);
    EXPECT_EQ(bench.lamp.SetUVLamp(TRUE, 9), E_FAIL);
    EXPECT_TRUE(bench.Session() == SOME_SESSION);
    EXPECT_EQ(bench.IsBusy(), std::string(what).starts_with("busy") ? TRUE : FALSE);
    EXPECT_EQ(bench.world.Written(), Texts{});
    EXPECT_EQ(bench.world.LogLines("WarmUpProc"), 0U);
  }
}

TEST(UVLamp, OffTellsLampAndFan) {
  struct {
    const char* what;
    std::function<void(LampBench&)> fault;
    LONG lResult;
    Texts written;
  } const cases[] = {
      {"sound", [](LampBench&) {}, 1, {"$d0", "$f0"}},
      {"first write fails", [](LampBench& b) { b.world.ports.writes.Start(1); }, 1, {"$f0"}},
      {"second write fails", [](LampBench& b) { b.world.ports.writes.Start(2); }, 0, {"$d0"}},
      {"no port", ClosePort, 0, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    LampBench bench;
    bench.SetSession(SOME_SESSION);
    bench.Cache(CacheEntry::UVLamp, 1);
    bench.Cache(CacheEntry::Fan, 7);
    c.fault(bench);
    EXPECT_EQ(bench.lamp.SetUVLamp(FALSE, 5), c.lResult);
    EXPECT_EQ(bench.world.Written(), c.written);
    EXPECT_EQ(bench.Cached(CacheEntry::UVLamp), 0);
    EXPECT_EQ(bench.Cached(CacheEntry::Fan), 0);
    EXPECT_TRUE(bench.Session() == UVSession{});
    EXPECT_EQ(bench.host.Calls(), Texts{});
  }
}

TEST(UVLamp, DecidedSwitchOffComesBeforeAnyOtherCommand) {
  LampBench bench;
  bench.Light();
  EXPECT_TRUE(bench.BurnsAtUnit());
  {
    const auto state = bench.state.Lock();
    bench.lamp.ClaimSwitchOff();
    state->m_Status.bBusy = TRUE;  // a procedure begins before the lamp has been told
  }
  EXPECT_EQ(bench.unit.SetGain(TRUE), 0U);
  EXPECT_EQ(bench.lamp.SendSwitchOff(), TRUE) << "nothing is left to send";
  EXPECT_EQ(bench.world.Written(), (Texts{"$d1", "$f7", "$d0", "$f0", "$g1"}));
}

TEST(UVLamp, SessionEndsWithTheLamp) {
  for (const bool bError : {true, false}) {
    LampBench bench;
    bench.Light();
    bench.SetSession(SOME_SESSION);
    bench.SetBusy(TRUE);
    bError ? bench.link.HandleInstrumentError(4) : static_cast<void>(bench.unit.SetDeuteriumLamp(FALSE));
    EXPECT_TRUE(bench.Session() == UVSession{});
    EXPECT_FALSE(bench.BurnsAtUnit());
  }
}

TEST(UVLamp, OffWinsAtEveryPointOfTheWarmUp) {
  // The first points are those of the switch-on itself: what comes before it is not meant by the switch-off.
  for (std::uint64_t nPoint = 40; nPoint < 600 && !HasFailure(); nPoint += 3) {
    SCOPED_TRACE(nPoint);
    VirtualBoardOptions options;
    options.policy = Policy::Random;
    options.seed = 1 + nPoint;
    LampBench bench(options);
    bench.LookAtLamp();
    bench.host.Answer({FALSE, 0, FALSE, 2});  // seconds of warm-up
    std::atomic<bool> bDone{false};
    bench.world.board.RunAtPoint(bench.world.board.Points() + nPoint, "host", [&] {
      EXPECT_EQ(bench.lamp.SetUVLamp(FALSE, 0), 1);
      bDone = true;
    });
    EXPECT_EQ(bench.lamp.SetUVLamp(TRUE, 1), S_OK);
    bench.WaitUntilNotBusy();
    while (!bDone) {
      Sleep(50);
    }
    bench.ExpectAgreement(false);
    EXPECT_EQ(bench.Session().m_dwUVSession, 0U);
  }
}

}  // namespace
}  // namespace photometer::tests
