#include <algorithm>
#include <atomic>
#include <set>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "monitors/LampBench.h"
#include "monitors/LampHours.h"
#include "platform/Platform.h"
#include "simulator/SipperZQ410.h"
#include "simulator/SipperZQ420.h"

namespace photometer::tests {
namespace {

using namespace platform;  // NOLINT(google-build-using-namespace)

constexpr const char* TURNING_OFF = "[Timer] Turning off UV Lamp...";
constexpr const char* IDLE_LINE = "[Timer] end of UV session time";
constexpr const char* BURNT_LINE = "[Timer] Roboter mode, end of burning time reached!";
constexpr const char* WARM_LINE = "[Timer][UV]  Roboter mode, UV lamp warming up ended!";
constexpr const char* CHECK_LINE = "[Timer] delegate WaveLengthCheck...";

/// Starts of the tick counter for a wait: far from its wrap, and with the wrap early, halfway and at the end.
std::vector<DWORD> StartTicks(DWORD dwSeconds) {
  return {1000, 0U - 1500U, 0U - dwSeconds * 500U, 0U - dwSeconds * 1000U};
}

VirtualBoardOptions StartingAt(DWORD dwTick) {
  VirtualBoardOptions options;
  options.startTick = dwTick;
  return options;
}

// ---- lamp hours ----

TEST(Timer, HalogenHoursGrowInPortionsAndWithTheRest) {
  struct {
    DWORD dwLitTicks;
    LONG iState;
    Texts written;
  } const cases[] = {
      {75, 1, {"HalLamp = 30", "HalLamp = 60", "HalLamp = 75"}},
      {30, 2, {"HalLamp = 30"}},
      {1, 1, {"HalLamp = 1"}},
      {40, 0, {}},
      {40, UNKNOWN, {}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.dwLitTicks);
    LampBench bench;
    bench.StartTimer();
    bench.Cache(CacheEntry::HalogenLamp, c.iState);
    bench.SleepUntilAfter(c.dwLitTicks);
    bench.Cache(CacheEntry::HalogenLamp, 0);
    bench.SleepUntilAfter(c.dwLitTicks + 100);
    EXPECT_EQ(bench.LampSeconds(), c.written);
  }
}

/// Lit, off, lit: what had not been written when the lamp went off comes with the next portion.
TEST(Timer, DeuteriumHoursAreKeptWhileTheLampIsOff) {
  LampBench bench;
  bench.StartTimer();
  bench.Light();
  bench.SleepUntilAfter(50);
  EXPECT_EQ(bench.lamp.SetUVLamp(FALSE, 0), 1);
  bench.SleepUntilAfter(100);
  EXPECT_EQ(bench.LampSeconds(), Texts{"UVLamp = 30"});
  bench.Light();
  bench.SleepUntilAfter(109);
  EXPECT_EQ(bench.LampSeconds(), Texts{"UVLamp = 30"});
  bench.SleepUntilAfter(110);
  EXPECT_EQ(bench.LampSeconds(), (Texts{"UVLamp = 30", "UVLamp = 60"}));
}

// ---- idle switch-off ----

TEST(Timer, IdleLampGoesOffInTheFirstTickAfterTheTime) {
  struct {
    DWORD dwIdleLimit;
    /// The last activity is so much later than the timer's start, ms.
    DWORD dwActivity;
    DWORD dwTick;
  } const cases[] = {{600, 0, 601}, {600, 1, 602}, {600, 999, 602}, {2, 0, 3}};
  for (const auto& c : cases) {
    for (const DWORD dwStart : StartTicks(c.dwIdleLimit + 1)) {
      SCOPED_TRACE(std::to_string(c.dwIdleLimit) + "/" + std::to_string(c.dwActivity) + "/" + std::to_string(dwStart));
      LampBench bench(StartingAt(dwStart));
      bench.state.Lock()->m_Params.dwUVSessionTime = c.dwIdleLimit;
      bench.StartTimer();
      bench.Light();
      Sleep(c.dwActivity);
      bench.state.Lock()->m_Status.dwLastActivityTick = GetTickCount();
      bench.SleepUntilBefore(c.dwTick);
      bench.ExpectAgreement(true);
      Sleep(100);
      bench.ExpectAgreement(false);
      EXPECT_EQ(bench.host.Calls(), Texts{std::to_string(c.dwTick * 1000) + " Ready(0)"});
      EXPECT_EQ(bench.world.LogLines(IDLE_LINE), 1U);
      EXPECT_EQ(bench.world.LogLines(TURNING_OFF), 1U);
      EXPECT_THAT(bench.world.Written(), testing::IsSupersetOf({"$d0", "$f0"}));
      EXPECT_EQ(bench.LampSeconds().back(), "UVLamp = " + std::to_string(c.dwTick)) << "every second that it burnt";
    }
  }
}

TEST(Timer, IdleLampStaysOnWhileAProcedureRuns) {
  LampBench bench;
  bench.state.Lock()->m_Params.dwUVSessionTime = 10;
  bench.SetBusy(TRUE);
  bench.StartTimer();
  bench.Light();
  bench.SleepUntilAfter(30);
  EXPECT_EQ(bench.world.LogLines(IDLE_LINE), 20U) << "a line each tick";
  EXPECT_EQ(bench.world.LogLines(TURNING_OFF), 0U);
  // The procedure's end counts as activity: another idle time.
  bench.state.Lock()->m_Status.dwLastActivityTick = GetTickCount();
  bench.SetBusy(FALSE);
  bench.SleepUntilAfter(41);
  bench.ExpectAgreement(true);
  bench.SleepUntilAfter(42);
  bench.ExpectAgreement(false);
  EXPECT_EQ(bench.host.Calls(), Texts{"42000 Ready(0)"});
}

TEST(Timer, LampThatIsNotKnownToBurnIsLeftAlone) {
  for (const LONG iState : {0, UNKNOWN}) {
    LampBench bench;
    bench.state.Lock()->m_Params.dwUVSessionTime = 5;
    bench.Cache(CacheEntry::UVLamp, iState);
    bench.StartTimer();
    bench.SleepUntilAfter(60);
    EXPECT_EQ(bench.host.Calls(), Texts{});
    EXPECT_EQ(bench.world.Written(), Texts{});
    EXPECT_EQ(bench.LampSeconds(), Texts{});
  }
}

// ---- sessions ----

TEST(Timer, SessionIsWarmOnceAndEndsAfterTenHours) {
  for (const DWORD dwStart : StartTicks(UV_BURNING_LIMIT)) {
    SCOPED_TRACE(dwStart);
    LampBench bench(StartingAt(dwStart));
    bench.world.StopTracing();
    bench.state.Lock()->m_Params.dwUVSessionTime = 1;  // does not count in a session
    bench.SetSession({5, GetTickCount(), 600, 600});
    bench.StartTimer();
    bench.Light();
    bench.SetBusy(TRUE);  // nor does a procedure
    bench.SleepUntilBefore(36'001);
    bench.ExpectAgreement(true);
    EXPECT_EQ(bench.Session().m_dwUVWarmUpLimit, UV_BURNING_LIMIT);
    Sleep(100);
    bench.ExpectAgreement(false);
    EXPECT_EQ(bench.host.Calls(), (Texts{"601000 Ready(1)", "36001000 Ready(0)"}));
    for (const char* line : {WARM_LINE, BURNT_LINE, TURNING_OFF}) {
      EXPECT_EQ(bench.world.LogLines(line), 1U) << line;
    }
    const UVSession session = bench.Session();
    EXPECT_EQ(session.m_dwUVSession + session.m_dwUVSessionStartTick + session.m_dwUVWarmUpLimit, 0U);
    EXPECT_EQ(session.m_dwWarmUpCountdown, DEFAULT_WARM_UP_COUNTDOWN);
  }
}

TEST(Timer, WarmUpNoticeWaitsForTheLamp) {
  for (const DWORD dwStart : StartTicks(40)) {
    LampBench bench(StartingAt(dwStart));
    bench.SetSession({1, GetTickCount(), 20, 20});
    bench.StartTimer();
    bench.SleepUntilAfter(39);
    bench.Light();
    bench.SleepUntilAfter(100);
    EXPECT_EQ(bench.host.Calls(), Texts{"40000 Ready(1)"});
  }
}

// ---- reminder ----

TEST(Timer, ReminderComesAfterEachInterval) {
  for (const DWORD dwStart : StartTicks(1801)) {
    SCOPED_TRACE(dwStart);
    LampBench bench(StartingAt(dwStart));
    bench.state.Lock()->m_Params.dwWavelengthCheckInterval = 30;
    bench.StartTimer();
    bench.SleepUntilAfter(3700);
    EXPECT_EQ(bench.host.Calls(), (Texts{"1801000 CheckDue", "3602000 CheckDue"}));
    EXPECT_EQ(bench.world.LogLines(CHECK_LINE), 2U);
  }
}

TEST(Timer, ReminderIsHeldBack) {
  struct {
    const char* what;
    BOOL bBusy;
    LampSink::Answers answers;
    DWORD dwInterval;
    bool bHeld = true;
  } const cases[] = {
      {"procedure", TRUE, {}, 1},
      {"host busy", FALSE, {FALSE, 0, TRUE}, 1},
      {"host active", FALSE, {TRUE, 1, FALSE}, 1},
      {"active, count 0", FALSE, {TRUE, 0, FALSE}, 1, false},
      {"active, count below 0", FALSE, {TRUE, -1, FALSE}, 1, false},
      {"count without active", FALSE, {FALSE, 9, FALSE}, 1, false},
      {"interval 0", FALSE, {}, 0},
      {"an interval of more than 32 bits in seconds", FALSE, {}, 71'582'789},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    LampBench bench;
    const auto set = [&bench](BOOL bBusy, const LampSink::Answers& answers, DWORD dwInterval) {
      bench.SetBusy(bBusy);
      bench.host.Answer(answers);
      bench.state.Lock()->m_Params.dwWavelengthCheckInterval = dwInterval;
    };
    bench.StartTimer();
    set(c.bBusy, c.answers, c.dwInterval);
    bench.SleepUntilAfter(120);
    set(FALSE, {}, 1);
    bench.SleepUntilAfter(150);
    EXPECT_EQ(bench.host.Calls().at(0), c.bHeld ? "121000 CheckDue" : "61000 CheckDue");
    EXPECT_EQ(bench.world.LogLines(CHECK_LINE), bench.host.Calls().size());
  }
}

TEST(Timer, ProcedureThatStartsInTheSameTickKeepsTheReminderBack) {
  LampBench bench;
  bench.state.Lock()->m_Params.dwWavelengthCheckInterval = 1;
  bench.state.Lock()->m_Params.dwUVSessionTime = 60;
  bench.host.On("Ready(0)", [&bench] { bench.SetBusy(TRUE); });  // before the reminder, in the same tick
  bench.StartTimer();
  bench.Light();
  bench.SleepUntilAfter(70);
  EXPECT_EQ(bench.host.Calls(), Texts{"61000 Ready(0)"});
}

TEST(Timer, WithoutASinkTheLastAnswersStand) {
  for (const BOOL bBusy : {FALSE, TRUE}) {
    LampBench bench;
    bench.state.Lock()->m_Params.dwWavelengthCheckInterval = 1;
    bench.host.Answer({FALSE, 0, bBusy});
    bench.StartTimer();
    bench.SleepUntilAfter(5);
    bench.sink.SetSink(nullptr);
    bench.SleepUntilAfter(70);
    EXPECT_EQ(bench.world.LogLines(CHECK_LINE), bBusy ? 0U : 1U);
    EXPECT_EQ(bench.host.Calls(), Texts{});
  }
}

// ---- locks and the gate ----

TEST(Timer, QueriesGoOnBesideABlockedCallbackUntilTheGateCloses) {
  LampBench bench;
  bench.StartTimer();
  const HANDLE hGoOn = CreateEventW(TRUE, FALSE, nullptr);
  EXPECT_TRUE(bench.threads.Start(
      "blocked", [&] { bench.sink.Notify([hGoOn](IPhotometerSink&) { WaitForSingleObject(hGoOn, INFINITE); }); }));
  bench.SleepUntilAfter(20);
  EXPECT_EQ(bench.host.Questions(), 20);
  bench.sink.CloseGate();
  bench.SleepUntilAfter(40);
  EXPECT_EQ(bench.host.Questions(), 20);
  SetEvent(hGoOn);
  bench.Stop();
  CloseHandle(hGoOn);
}

// ---- switch-off beside others ----

TEST(Timer, SwitchOffBesideAnExchangeGoesOutRightAfterIt) {
  LampBench bench;
  bench.SetSession({1, GetTickCount() - (UV_BURNING_LIMIT - 20) * 1000U, UV_BURNING_LIMIT, 90});
  bench.StartTimer();
  bench.Light();
  bench.SetBusy(TRUE);
  EXPECT_EQ(bench.unit.SetGain(TRUE), 0U);
  bench.SleepUntilBefore(21);
  DWORD dwMove = 1;
  DWORD dwGain = 1;
  const HANDLE hThread = CreateThread(
      [&] {
        dwMove = bench.unit.MoveMonochromator(9000);  // takes longer than what is left before the tick
        dwGain = bench.unit.SetGain(FALSE);
      },
      "driver", nullptr);
  Sleep(60);
  EXPECT_EQ(bench.Cached(CacheEntry::UVLamp), 0) << "decided";
  EXPECT_EQ(bench.host.Calls(), Texts{"21000 Ready(0)"}) << "without waiting for the move";
  EXPECT_EQ(bench.world.Written().back(), "$M9000");
  WaitForSingleObject(hThread, INFINITE);
  CloseHandle(hThread);
  EXPECT_EQ(dwMove + dwGain, 0U);
  const Texts commands = bench.world.Written();
  EXPECT_EQ(Texts(commands.end() - 4, commands.end()), (Texts{"$M9000", "$d0", "$f0", "$g0"}));
  bench.ExpectAgreement(false);
}

struct SwitchOff {
  /// Scheduling points from just before its tick until all is quiet.
  std::uint64_t nPoints;
  /// A procedure had to light the lamp again.
  bool bRelit;
};

/// A switch-off by the timer, with a procedure that wants the lamp begun at its n-th scheduling point; 0: without one.
SwitchOff SwitchOffWithProcedureAt(std::uint64_t nPoint, bool bSession, const VirtualBoardOptions& options) {
  LampBench bench(options);
  bench.LookAtLamp();
  bench.state.Lock()->m_Status.dwLastActivityTick = GetTickCount();
  bench.state.Lock()->m_Params.dwUVSessionTime = 2;
  if (bSession) {
    bench.SetSession({1, GetTickCount() - (UV_BURNING_LIMIT - 2) * 1000U, UV_BURNING_LIMIT, 90});
  }
  bench.StartTimer();
  bench.Light();
  bench.SleepUntilBefore(3);
  Sleep(49);
  const std::uint64_t nFirst = bench.world.board.Points();
  std::atomic<bool> bDone{nPoint == 0};
  if (nPoint != 0) {
    bench.world.board.RunAtPoint(nFirst + nPoint, "procedure", [&] {
      bench.SetBusy(TRUE);
      EXPECT_EQ(bench.unit.SetDeuteriumLamp(TRUE), 0U);
      bDone = true;
    });
  }
  Sleep(5);
  const std::uint64_t nPoints = bench.world.board.Points() - nFirst;
  while (!bDone) {
    Sleep(50);
  }
  Sleep(2000);
  const bool bRelit = std::ranges::count(bench.world.Written(), "$d1") > 1;
  // A session's end leaves a procedure without its lamp that found it burning; an idle time's end does not come then.
  bench.ExpectAgreement(nPoint != 0 && (!bSession || bRelit));
  return {nPoints, bRelit};
}

TEST(Timer, ProcedureThatBeginsInTheMomentOfASwitchOffHasItsLamp) {
  for (const bool bSession : {false, true}) {
    for (const Policy policy : {Policy::FirstCome, Policy::Random}) {
      VirtualBoardOptions options;
      options.policy = policy;
      const std::uint64_t nPoints = SwitchOffWithProcedureAt(0, bSession, options).nPoints;
      ASSERT_GT(nPoints, 20U);
      std::set<bool> outcomes;
      for (std::uint64_t n = 1; n <= nPoints && !::testing::Test::HasFailure(); ++n) {
        SCOPED_TRACE((bSession ? "session, point " : "idle, point ") + std::to_string(n));
        options.seed = n;
        outcomes.insert(SwitchOffWithProcedureAt(n, bSession, options).bRelit);
      }
      EXPECT_EQ(outcomes.size(), 2U) << "lit again, and kept";
    }
  }
}

// ---- the device ----

/// Ten hours with everything that runs in an instrument: the session ends, and the seconds are counted.
TEST(Timer, TenHourSessionWithAllThreads) {
  simulator::SipperZQ410 zq410;
  simulator::SipperZQ420 zq420;
  World world;
  world.StopTracing();
  world.board.PlugPort(u"COM1:", zq410);
  world.board.PlugPort(u"COM6:", zq420);
  LampSink host(world.board, world.transcript);
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  device->SetSink(&host);
  device->SetOperatingMode(1);
  host.StartClock(world.board.Now());
  EXPECT_EQ(device->SetUVLamp(TRUE, 1), S_OK);
  Sleep(UV_BURNING_LIMIT * 1000);
  EXPECT_EQ(device->GetUVLampState(), 1);
  EXPECT_TRUE(device->GetStatus().bSipperDetected);
  Sleep(3000);
  EXPECT_EQ(device->GetUVLampState(), 0);
  EXPECT_EQ(host.Questions(), 36'003);
  const Texts calls = host.Calls();
  EXPECT_THAT(calls, testing::ElementsAre("0 WarmUpTime?", testing::MatchesRegex("60[0-9]{4} Ready.1."),
                                          testing::MatchesRegex("3600[12][0-9]{3} Ready.0.")));
  HANDLE hKey = 0;
  DWORD dwSeconds = 0;
  ASSERT_EQ(RegOpenKeyExW(u"\\Veltranometrik", &hKey), ERROR_SUCCESS);
  EXPECT_EQ(RegQueryValueExW(hKey, DEUTERIUM_HOURS, &dwSeconds), ERROR_SUCCESS);
  RegCloseKey(hKey);
  const std::uint64_t nBurnt = (std::stoul(calls.back()) - std::stoul(calls.at(1))) / 1000;
  EXPECT_TRUE(dwSeconds == nBurnt || dwSeconds == nBurnt + 1) << dwSeconds << " of " << nBurnt;
  world.board.UnplugPort(u"COM1:");
  Sleep(5000);
  EXPECT_FALSE(device->GetStatus().bSipperDetected) << "supervised";
  device.Close();
  EXPECT_EQ(world.LogLines("Starting Thread [Timer] ..."), 1U);
  EXPECT_NE(world.board.DebugText().find(u"[Timer] Ending Timer thread.\n\r"), std::u16string::npos);
  world.ExpectSwitchedOff();
  world.ExpectClean();
}

}  // namespace
}  // namespace photometer::tests
