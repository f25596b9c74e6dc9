/// `SetDeuteriumLamp`: the switch-on with its warm-up, and what may go wrong on the way.
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "optics/OpticalUnit.h"
#include "platform/Platform.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

using Commands = std::vector<std::string>;

constexpr DWORD LIT = 14'000;
constexpr DWORD DARK = 3'000;

/// Optics whose lamp lights within a warm-up of three seconds.
struct LampOptics : Optics {
  explicit LampOptics(DWORD dwAfter = LIT) {
    device.Script("$a3", Readings(0, DARK, 3));
    device.Script("$a3", Readings(0, dwAfter, 3));
    state.Lock()->m_dwWarmUpCountdown = 3;
    Cache(CacheEntry::MonochromatorSpeed, 50);
  }
};

TEST(DeuteriumLamp, MovesToItsLightAndBack) {
  const DWORD dwLampPosition = [] {
    Optics optics;
    return static_cast<DWORD>(optics.model.GetMonochromatorPosition(220.0));
  }();
  const std::string toLamp = "$M" + std::to_string(dwLampPosition);
  struct {
    LONG iPosition;
    LONG iSpeed;
    Commands commands;
  } const cases[] = {
      {100, 50, {toLamp, "$a3", "$d1", "$a3", "$f7", "$M100"}},
      {static_cast<LONG>(dwLampPosition), 50, {"$a3", "$d1", "$a3", "$f7"}},
      {9000, 50, {"$a3", "$d1", "$a3", "$f7"}},
      {UNKNOWN, 50, {"$a3", "$d1", "$a3", "$f7"}},
      {9000, 38400, {"$S50", "$a3", "$d1", "$a3", "$f7", "$S38400"}},
      {9000, UNKNOWN, {"$S50", "$a3", "$d1", "$a3", "$f7"}},
  };
  for (const auto& c : cases) {
    LampOptics optics;
    optics.Cache(CacheEntry::MonochromatorPosition, c.iPosition);
    optics.Cache(CacheEntry::MonochromatorSpeed, c.iSpeed);
    EXPECT_EQ(optics.unit.SetDeuteriumLamp(TRUE), 0U);
    EXPECT_EQ(optics.device.Commands(), c.commands);
    EXPECT_EQ(optics.Cached(CacheEntry::UVLamp), 1);
    EXPECT_EQ(optics.Cached(CacheEntry::Fan), 7);
    EXPECT_EQ(optics.state.Lock()->m_Status.dwLastActivityTick, GetTickCount());
  }
}

TEST(DeuteriumLamp, TellsTheHostInOrder) {
  LampOptics optics;
  EXPECT_EQ(optics.unit.SetDeuteriumLamp(TRUE), 0U);
  EXPECT_EQ(optics.world.sink.Calls(),
            (Commands{"OnLampSwitching(1)", "OnWarmUpCountdown(3)", "OnWarmUpCountdown(2)", "OnWarmUpCountdown(1)",
                      "OnWarmUpCountdown(0)", "OnLampSwitching(0)"}));
  // On already: neither commands nor calls.
  optics.device.Forget();
  optics.world.transcript.Clear();
  EXPECT_EQ(optics.unit.SetDeuteriumLamp(5), 0U);
  EXPECT_EQ(optics.device.Commands(), Commands{});
  EXPECT_EQ(optics.world.sink.Calls(), Commands{});
}

TEST(DeuteriumLamp, WarmUpTakesAsLongAsItSays) {
  for (const DWORD dwSeconds : {0U, 90U}) {
    LampOptics optics;
    optics.state.Lock()->m_dwWarmUpCountdown = dwSeconds;
    const std::uint64_t nStart = optics.world.board.Now();
    EXPECT_EQ(optics.unit.SetDeuteriumLamp(TRUE), 0U);
    EXPECT_EQ((optics.world.board.Now() - nStart) / SECOND, dwSeconds);
    EXPECT_EQ(optics.world.sink.Calls().size(), dwSeconds + 3);
    EXPECT_EQ(optics.world.sink.Count("OnWarmUpCountdown(0)"), 1U);
  }
}

TEST(DeuteriumLamp, SwitchesOff) {
  LampOptics optics;
  optics.Cache(CacheEntry::UVLamp, 1);
  optics.device.Script("$f0", "error");
  EXPECT_EQ(optics.unit.SetDeuteriumLamp(FALSE), 0U);
  EXPECT_EQ(optics.device.Commands(), (Commands{"$d0", "$f0"}));
  EXPECT_EQ(optics.Cached(CacheEntry::UVLamp), 0);
  EXPECT_EQ(optics.world.sink.Calls(), (Commands{"OnLampSwitching(1)", "OnLampSwitching(0)"}));
}

TEST(DeuteriumLamp, RiseDecides) {
  struct {
    DWORD dwAfter;
    DWORD dwResult;
    Commands commands;
  } const cases[] = {
      {DARK + 10'000, 0, {"$a3", "$d1", "$a3", "$f7"}},
      {DARK + 9'999, 77, {"$a3", "$d1", "$a3", "$d0", "$f0"}},
      {0, 77, {"$a3", "$d1", "$a3", "$d0", "$f0"}},
  };
  for (const auto& c : cases) {
    LampOptics optics(c.dwAfter);
    EXPECT_EQ(optics.unit.SetDeuteriumLamp(TRUE), c.dwResult);
    Sleep(10);
    EXPECT_EQ(optics.device.Commands(), c.commands);
    EXPECT_EQ(optics.Cached(CacheEntry::UVLamp), c.dwResult == 0 ? 1 : UNKNOWN);
    EXPECT_EQ(optics.state.LastCommand(), c.dwResult == 0 ? "SetFan" : "_SetDeuteriumLamp");
    EXPECT_EQ(optics.world.sink.Calls().back(), "OnLampSwitching(0)");
  }
}

TEST(DeuteriumLamp, FailedCommandsOnTheWay) {
  struct {
    const char* what;
    std::function<void(LampOptics&)> fault;
    DWORD dwResult;
    bool bSwitchedOff;
    const char* command;
  } const cases[] = {
      {"speed",
       [](LampOptics& o) {
         o.Cache(CacheEntry::MonochromatorSpeed, 10);
         o.device.Script("$S50", "error");
       },
       77, false, "SetMonochromatorSpeed"},
      {"speed back",
       [](LampOptics& o) {
         o.Cache(CacheEntry::MonochromatorSpeed, 10);
         o.device.Script("$S10", "error");
       },
       104, false, "SetMonochromatorSpeed"},
      {"lamp error", [](LampOptics& o) { o.device.Script("$d1", "error"); }, 74, true, "_SetDeuteriumLamp"},
      {"lamp silent", [](LampOptics& o) { o.device.Script("$d1", Answer{}); }, 72, true, "_SetDeuteriumLamp"},
      {"fan", [](LampOptics& o) { o.device.Script("$f7", "error"); }, 174, true, "SetFan"},
      {"move back",
       [](LampOptics& o) {
         o.Cache(CacheEntry::MonochromatorPosition, 100);
         o.device.Script("$M100", "error");
       },
       114, true, "MoveMonochromator"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    LampOptics optics;
    c.fault(optics);
    EXPECT_EQ(optics.unit.SetDeuteriumLamp(TRUE), c.dwResult);
    EXPECT_EQ(optics.state.LastCommand(), c.command);
    Sleep(10);
    const Commands commands = optics.device.Commands();
    const bool bSwitchedOff =
        commands.size() > 2 && Commands(commands.end() - 2, commands.end()) == Commands{"$d0", "$f0"};
    EXPECT_EQ(bSwitchedOff, c.bSwitchedOff);
    EXPECT_EQ(optics.world.sink.Calls().back(), "OnLampSwitching(0)");
  }
}

TEST(DeuteriumLamp, FirstReadingFailsBeforeTheLampIsTold) {
  Optics optics;
  optics.Cache(CacheEntry::MonochromatorSpeed, 50);
  optics.device.Script("$a3", "\x01\x02");
  EXPECT_EQ(optics.unit.SetDeuteriumLamp(TRUE), 132U);
  EXPECT_EQ(optics.device.Commands(), Commands{"$a3"});
}

TEST(DeuteriumLamp, SwitchOffDuringTheWarmUpWins) {
  LampOptics optics;
  optics.world.sink.On("OnWarmUpCountdown(2)", [&optics] { ++optics.state.Lock()->m_dwUVLampSwitchOffs; });
  EXPECT_EQ(optics.unit.SetDeuteriumLamp(TRUE), 77U);
  Sleep(10);
  EXPECT_EQ(optics.device.Commands(), (Commands{"$a3", "$d1", "$d0", "$f0"}));
  EXPECT_EQ(optics.Cached(CacheEntry::UVLamp), 0);
  EXPECT_EQ(optics.world.sink.Count("OnWarmUpCountdown(1)"), 0U);
}

}  // namespace
}  // namespace photometer::tests
