#include <algorithm>
#include <atomic>
#include <functional>
#include <string>
#include <vector>

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
    Texts added;
  } const cases[] = {
      {75, 1, {"HalLamp +30", "HalLamp +30", "HalLamp +15"}},
      {30, 2, {"HalLamp +30"}},
      {29, 1, {"HalLamp +29"}},
      {1, 1, {"HalLamp +1"}},
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
    EXPECT_EQ(bench.registry.Added(), c.added);
  }
}

/// Lit, off, lit: what had not been written when the lamp went off comes with the next portion.
TEST(Timer, DeuteriumHoursAreKeptWhileTheLampIsOff) {
  const std::pair<const char*, std::function<void(LampBench&)>> cases[] = {
      {"by the host", [](LampBench& b) { EXPECT_EQ(b.lamp.SetUVLamp(FALSE, 0), 1); }},
      {"by a procedure", [](LampBench& b) { b.Cache(CacheEntry::UVLamp, 0); }},
      {"by an error", [](LampBench& b) { b.link.HandleInstrumentError(77); }},
  };
  for (const auto& [what, switchOff] : cases) {
    SCOPED_TRACE(what);
    LampBench bench;
    bench.StartTimer();
    bench.Light();
    bench.SleepUntilAfter(50);
    switchOff(bench);
    bench.SleepUntilAfter(100);
    EXPECT_EQ(bench.registry.Added(), Texts{"UVLamp +30"});
    bench.Light();
    bench.SleepUntilAfter(109);
    EXPECT_EQ(bench.registry.Added(), Texts{"UVLamp +30"});
    bench.SleepUntilAfter(110);
    EXPECT_EQ(bench.registry.Added(), (Texts{"UVLamp +30", "UVLamp +30"}));
  }
}

TEST(Timer, CountThatTheRegistryRefusesIsLost) {
  const std::pair<const char*, std::atomic<bool> LampRegistry::*> cases[] = {
      {"no key", &LampRegistry::bNoKey}, {"no value", &LampRegistry::bNoValue}, {"write", &LampRegistry::bWriteFails}};
  for (const auto& [what, fault] : cases) {
    SCOPED_TRACE(what);
    LampBench bench;
    bench.StartTimer();
    bench.Cache(CacheEntry::HalogenLamp, 1);
    bench.registry.*fault = true;
    bench.SleepUntilAfter(30);
    bench.registry.*fault = false;
    bench.registry.Forget();
    bench.SleepUntilAfter(60);
    EXPECT_EQ(bench.registry.Added(), Texts{"HalLamp +30"});
  }
}

// ---- idle switch-off ----

TEST(Timer, IdleLampGoesOffInTheFirstTickAfterTheTime) {
  struct {
    DWORD dwIdleLimit;
    /// The last activity is so much later than the timer's start, ms.
    DWORD dwActivity;
    DWORD dwTick;
  } const cases[] = {{600, 0, 601}, {600, 1, 602}, {600, 999, 602}, {2, 0, 3}, {90, 0, 91}};
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
      Texts commands = bench.world.Written();
      EXPECT_EQ(Texts(commands.end() - 2, commands.end()), (Texts{"$d0", "$f0"}));
      // Every second that it burnt is counted.
      DWORD dwSum = 0;
      for (const std::string& added : bench.registry.Added()) {
        dwSum += static_cast<DWORD>(std::stoul(added.substr(added.find('+'))));
      }
      EXPECT_EQ(dwSum, c.dwTick);
    }
  }
}

TEST(Timer, IdleLampStaysOnWhileAProcedureRuns) {
  LampBench bench;
  bench.state.Lock()->m_Params.dwUVSessionTime = 10;
  bench.SetBusy(TRUE);
  bench.StartTimer();
  bench.Light();
  bench.SleepUntilAfter(10);
  EXPECT_EQ(bench.world.LogLines(IDLE_LINE), 0U);
  bench.SleepUntilAfter(30);
  EXPECT_EQ(bench.world.LogLines(IDLE_LINE), 20U) << "a line each tick";
  EXPECT_EQ(bench.world.LogLines(TURNING_OFF), 0U);
  bench.ExpectAgreement(true);
  // The procedure's end counts as activity: another idle time.
  {
    const auto state = bench.state.Lock();
    state->m_Status.bBusy = FALSE;
    state->m_Status.dwLastActivityTick = GetTickCount();
  }
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
    EXPECT_EQ(bench.registry.Added(), Texts{});
  }
}

// ---- sessions ----

TEST(Timer, SessionIsWarmOnceAndEndsAfterTenHours) {
  for (const DWORD dwStart : StartTicks(UV_BURNING_LIMIT)) {
    SCOPED_TRACE(dwStart);
    LampBench bench(StartingAt(dwStart));
    bench.world.StopTracing();
    bench.state.Lock()->m_Params.dwUVSessionTime = 1;  // does not count in a session
    static_cast<UVSession&>(*bench.state.Lock()) = {5, GetTickCount(), 600, 600};
    bench.StartTimer();
    bench.Light();
    bench.SetBusy(TRUE);  // nor does a procedure
    bench.SleepUntilBefore(36'001);
    bench.ExpectAgreement(true);
    EXPECT_EQ(bench.Session().m_dwUVWarmUpLimit, UV_BURNING_LIMIT);
    Sleep(100);
    bench.ExpectAgreement(false);
    EXPECT_EQ(bench.host.Calls(), (Texts{"601000 Ready(1)", "36001000 Ready(0)"}));
    EXPECT_EQ(bench.world.LogLines(WARM_LINE), 1U);
    EXPECT_EQ(bench.world.LogLines(BURNT_LINE), 1U);
    EXPECT_EQ(bench.world.LogLines(TURNING_OFF), 1U);
    const UVSession session = bench.Session();
    EXPECT_EQ(session.m_dwUVSession, 0U);
    EXPECT_EQ(session.m_dwUVSessionStartTick, 0U);
    EXPECT_EQ(session.m_dwUVWarmUpLimit, 0U);
    EXPECT_EQ(session.m_dwWarmUpCountdown, DEFAULT_WARM_UP_COUNTDOWN);
  }
}

TEST(Timer, WarmUpNoticeWaitsForTheLamp) {
  for (const DWORD dwStart : StartTicks(40)) {
    LampBench bench(StartingAt(dwStart));
    static_cast<UVSession&>(*bench.state.Lock()) = {1, GetTickCount(), 20, 20};
    bench.StartTimer();
    bench.SleepUntilAfter(39);
    EXPECT_EQ(bench.host.Calls(), Texts{});
    bench.Light();
    bench.SleepUntilAfter(100);
    EXPECT_EQ(bench.host.Calls(), Texts{"40000 Ready(1)"});
  }
}

TEST(Timer, CallbackOfTheNoticeMayCallOperations) {
  LampBench bench;
  static_cast<UVSession&>(*bench.state.Lock()) = {1, GetTickCount(), 5, 5};
  bench.host.On("Ready(1)", [&bench] { EXPECT_EQ(bench.lamp.SetUVLamp(FALSE, 0), 1); });
  bench.StartTimer();
  bench.Light();
  bench.SleepUntilAfter(10);
  bench.ExpectAgreement(false);
  EXPECT_EQ(bench.host.Calls(), Texts{"6000 Ready(1)"}) << "no notice of what the host did itself";
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
  using Change = std::function<void(LampBench&)>;
  const Change hostIdle = [](LampBench& b) { b.host.Answer({}); };
  const auto host = [](LampSink::Answers answers) -> Change { return [=](LampBench& b) { b.host.Answer(answers); }; };
  struct {
    const char* what;
    Change hold;
    Change release;
    bool bHeld;
  } const cases[] = {
      {"procedure", [](LampBench& b) { b.SetBusy(TRUE); }, [](LampBench& b) { b.SetBusy(FALSE); }, true},
      {"host busy", host({FALSE, 0, TRUE}), hostIdle, true},
      {"host active", host({TRUE, 1, FALSE}), hostIdle, true},
      {"active, count 0", host({TRUE, 0, FALSE}), hostIdle, false},
      {"active, count below 0", host({TRUE, -1, FALSE}), hostIdle, false},
      {"count without active", host({FALSE, 9, FALSE}), hostIdle, false},
      {"interval 0", [](LampBench& b) { b.state.Lock()->m_Params.dwWavelengthCheckInterval = 0; },
       [](LampBench& b) { b.state.Lock()->m_Params.dwWavelengthCheckInterval = 1; }, true},
      {"an interval of more than 32 bits in seconds",
       [](LampBench& b) { b.state.Lock()->m_Params.dwWavelengthCheckInterval = 71'582'789; },
       [](LampBench& b) { b.state.Lock()->m_Params.dwWavelengthCheckInterval = 1; }, true},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    LampBench bench;
    bench.state.Lock()->m_Params.dwWavelengthCheckInterval = 1;
    bench.StartTimer();
    bench.SleepUntilAfter(30);
    c.hold(bench);
    bench.SleepUntilAfter(120);
    c.release(bench);
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

/// Registry and files that take their time, which the board reports when a lock is held meanwhile.
class SlowRegistry final : public ForwardingRegistry {
 public:
  using ForwardingRegistry::ForwardingRegistry;
  bool SetValue(HANDLE key, const std::u16string& name, DWORD dwValue) override {
    Sleep(3);
    return ForwardingRegistry::SetValue(key, name, dwValue);
  }
};

class SlowFiles final : public ForwardingFiles {
 public:
  using ForwardingFiles::ForwardingFiles;
  bool Append(const std::u16string& path, std::string_view bytes) override {
    Sleep(3);
    return ForwardingFiles::Append(path, bytes);
  }
};

TEST(Timer, HoldsNoLockWhileItWritesRegistryAndLog) {
  VirtualBoardOptions options;
  options.locksForHostCode.clear();
  LampBench bench(options);
  SlowRegistry registry(bench.registry);
  SlowFiles files(bench.world.tracing.GetFiles());
  ForwardingBoard slow(bench.world.tracing);
  slow.Replace(registry);
  slow.Replace(files);
  Board* const pBefore = SetBoard(&slow);
  {
    const auto state = bench.state.Lock();
    state->m_Params.dwWavelengthCheckInterval = 1;
    static_cast<UVSession&>(*state) = {1, GetTickCount(), 10, 10};
    state->m_Cache[CacheEntry::HalogenLamp] = 1;
  }
  bench.StartTimer();
  bench.Light();
  bench.SleepUntilAfter(70);
  EXPECT_EQ(bench.lamp.SetUVLamp(FALSE, 0), 1);
  bench.Light();
  bench.SetBusy(TRUE);
  bench.state.Lock()->m_Params.dwUVSessionTime = 1;
  Sleep(5000);
  bench.SetBusy(FALSE);
  Sleep(5000);
  EXPECT_EQ(bench.host.Calls().size(), 3U);
  for (const char* line : {WARM_LINE, CHECK_LINE, IDLE_LINE, TURNING_OFF}) {
    EXPECT_GE(bench.world.LogLines(line), 1U) << line;
  }
  EXPECT_GE(bench.registry.Added().size(), 4U);
  bench.Stop();
  SetBoard(pBefore);
}

// ---- switch-off beside others ----

TEST(Timer, SwitchOffBesideAnExchangeGoesOutRightAfterIt) {
  LampBench bench;
  static_cast<UVSession&>(*bench.state.Lock()) = {1, GetTickCount() - (UV_BURNING_LIMIT - 20) * 1000U, UV_BURNING_LIMIT,
                                                  90};
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
  EXPECT_EQ(dwMove, 0U);
  EXPECT_EQ(dwGain, 0U);
  Texts commands = bench.world.Written();
  EXPECT_EQ(Texts(commands.end() - 4, commands.end()), (Texts{"$M9000", "$d0", "$f0", "$g0"}));
  bench.ExpectAgreement(false);
}

/// A procedure that wants the lamp, begun at each scheduling point round the tick of a switch-off.
class ProcedureAtPoint {
 public:
  ProcedureAtPoint(bool bSession, Policy policy, std::uint64_t nSeed)
      : m_bSession(bSession), m_Bench(Options(policy, nSeed)) {
    m_Bench.LookAtLamp();
    const auto state = m_Bench.state.Lock();
    state->m_Status.dwLastActivityTick = GetTickCount();
    state->m_Params.dwUVSessionTime = 2;
    if (bSession) {
      state->m_dwUVSession = 1;
      state->m_dwUVSessionStartTick = GetTickCount() - (UV_BURNING_LIMIT - 2) * 1000U;
      state->m_dwUVWarmUpLimit = UV_BURNING_LIMIT;
    }
  }

  /// The number of scheduling points from just before the tick until all is quiet.
  std::uint64_t CountPoints() {
    Begin();
    const std::uint64_t nFirst = m_Bench.world.board.Points();
    Sleep(5);
    return m_Bench.world.board.Points() - nFirst;
  }

  void StartAt(std::uint64_t nPoint) {
    Begin();
    m_Bench.world.board.RunAtPoint(m_Bench.world.board.Points() + 1 + nPoint, "procedure", [this] {
      m_Bench.SetBusy(TRUE);
      m_dwResult = m_Bench.unit.SetDeuteriumLamp(TRUE);
      m_bDone = true;
    });
    while (!m_bDone) {
      Sleep(50);
    }
    EXPECT_EQ(m_dwResult, 0U);
    Sleep(2000);
    // A session's end leaves a procedure without its lamp that found it burning; an idle time's end does not come then.
    m_Bench.ExpectAgreement(!m_bSession || WasRelit());
  }

  [[nodiscard]] bool WasRelit() {
    const Texts written = m_Bench.world.Written();
    return std::ranges::count(written, "$d1") > 1;
  }

 private:
  static VirtualBoardOptions Options(Policy policy, std::uint64_t nSeed) {
    VirtualBoardOptions options;
    options.policy = policy;
    options.seed = nSeed;
    return options;
  }
  void Begin() {
    m_Bench.StartTimer();
    m_Bench.Light();
    m_Bench.SleepUntilBefore(3);
    Sleep(49);
  }

  bool m_bSession;
  LampBench m_Bench;
  std::atomic<bool> m_bDone{false};
  DWORD m_dwResult = 1;
};

TEST(Timer, ProcedureThatBeginsInTheMomentOfASwitchOffHasItsLamp) {
  for (const bool bSession : {false, true}) {
    for (const Policy policy : {Policy::FirstCome, Policy::Random}) {
      const std::uint64_t nPoints = ProcedureAtPoint(bSession, policy, 1).CountPoints();
      ASSERT_GT(nPoints, 20U);
      int iRelit = 0;
      int iKept = 0;
      for (std::uint64_t n = 0; n < nPoints && !::testing::Test::HasFailure(); ++n) {
        SCOPED_TRACE((bSession ? "session, point " : "idle, point ") + std::to_string(n));
        ProcedureAtPoint run(bSession, policy, 1 + n);
        run.StartAt(n);
        ++(run.WasRelit() ? iRelit : iKept);
      }
      EXPECT_GT(iRelit, 0);
      EXPECT_GT(iKept, 0);
    }
  }
}

// ---- the device ----

TEST(Timer, RunsWithTheDevice) {
  World world;
  LampSink host;
  Device device(world);
  ASSERT_TRUE(device.StartUp());
  device->SetSink(&host);
  host.StartClock(world.board.Now());
  device->SetWavelengthCheckInterval(1);
  device->ResetActivityTime();
  Sleep(120'000);
  EXPECT_EQ(host.Calls().size(), 1U);
  EXPECT_EQ(host.Questions(), 120);
  EXPECT_EQ(world.LogLines("Starting Thread [Timer] ..."), 1U);
  device.Close();
  EXPECT_NE(world.board.DebugText().find(u"[Timer] Ending Timer thread.\n\r"), std::u16string::npos);
  world.ExpectClean();
}

/// Ten hours with everything that runs in an instrument: the session ends, and the seconds are counted.
TEST(Timer, TenHourSessionWithAllThreads) {
  simulator::SipperZQ410 zq410;
  simulator::SipperZQ420 zq420;
  World world;
  world.StopTracing();
  world.board.PlugPort(u"COM1:", zq410);
  world.board.PlugPort(u"COM6:", zq420);
  LampSink host;
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
  const Texts calls = host.Calls();
  ASSERT_EQ(calls.size(), 3U);
  EXPECT_EQ(calls[0], "0 WarmUpTime?");
  EXPECT_EQ(calls[1].substr(calls[1].find(' ')), " Ready(1)");
  EXPECT_LT(std::stoul(calls[1]), 610'000U);
  EXPECT_EQ(calls[2].substr(calls[2].find(' ')), " Ready(0)");
  EXPECT_GT(std::stoul(calls[2]), 36'000'999U);
  EXPECT_LT(std::stoul(calls[2]), 36'002'001U);
  HANDLE hKey = 0;
  DWORD dwSeconds = 0;
  ASSERT_EQ(RegOpenKeyExW(u"\\Veltranometrik", &hKey), ERROR_SUCCESS);
  EXPECT_EQ(RegQueryValueExW(hKey, DEUTERIUM_HOURS, &dwSeconds), ERROR_SUCCESS);
  RegCloseKey(hKey);
  const DWORD dwBurnt = static_cast<DWORD>((std::stoul(calls[2]) - std::stoul(calls[1])) / 1000);
  EXPECT_GE(dwSeconds, dwBurnt);
  EXPECT_LE(dwSeconds, dwBurnt + 1);
  device.Close();
  world.ExpectSwitchedOff();
  world.ExpectClean();
}

/// Brought down at points spread over the ticks up to the one that switches the lamp off, and beyond.
TEST(Timer, ShutdownInATick) {
  std::uint64_t nPoints = 0;
  constexpr std::uint64_t RUNS = 24;
  for (std::uint64_t nRun = 0; nRun <= RUNS; ++nRun) {
    SCOPED_TRACE(nRun);
    World world({StartingAt(0xFFFFF000), {}, nullptr, true});
    Device device(world);
    ASSERT_TRUE(device.StartUp());
    device->SetUVSessionTime(1);
    ASSERT_EQ(device->SetUVLamp(TRUE, 0), S_OK);
    ASSERT_TRUE(device.WaitUntilNotBusy());
    const std::uint64_t nFirst = world.board.Points();
    std::atomic<bool> bDown{nRun == 0};
    if (nRun > 0) {
      world.board.RunAtPoint(nFirst + nRun * nPoints / (RUNS + 1), "host", [&] {
        world.sink.ForbidCallbacks();
        EXPECT_EQ(device->Shutdown(), S_OK);
        bDown = true;
      });
    }
    Sleep(3500);
    if (nRun == 0) {
      nPoints = world.board.Points() - nFirst;
      EXPECT_EQ(device->GetUVLampState(), 0);
    }
    while (!bDown) {
      Sleep(100);
    }
    device.Close();
    world.ExpectSwitchedOff();
    world.ExpectClean();
  }
}

}  // namespace
}  // namespace photometer::tests
