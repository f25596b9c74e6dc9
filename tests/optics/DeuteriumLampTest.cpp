/// `SetDeuteriumLamp`: the switch-on with its warm-up, and what may go wrong on the way.
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
const Answer ERROR{{300, "error"}};
/// To where the lamp's light is looked for: 220 nm.
const std::string TO_LAMP = "$M2504";

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
  struct {
    LONG iPosition;
    LONG iSpeed;
    Commands commands;
  } const cases[] = {
      {100, 50, {TO_LAMP, "$a3", "$d1", "$a3", "$f7", "$M100"}},
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

TEST(DeuteriumLamp, TellsTheHostEachSecond) {
  for (const DWORD dwSeconds : {0U, 90U}) {
    LampOptics optics;
    optics.state.Lock()->m_dwWarmUpCountdown = dwSeconds;
    const std::uint64_t nStart = optics.world.board.Now();
    EXPECT_EQ(optics.unit.SetDeuteriumLamp(TRUE), 0U);
    EXPECT_EQ((optics.world.board.Now() - nStart) / SECOND, dwSeconds);
    Commands calls{"OnLampSwitching(1)"};
    for (DWORD n = dwSeconds; n > 0; --n) {
      calls.push_back("OnWarmUpCountdown(" + std::to_string(n) + ")");
    }
    calls.insert(calls.end(), {"OnWarmUpCountdown(0)", "OnLampSwitching(0)"});
    EXPECT_EQ(optics.world.sink.Calls(), calls);
    // On already: neither commands nor calls.
    optics.device.Forget();
    EXPECT_EQ(optics.unit.SetDeuteriumLamp(5), 0U);
    EXPECT_EQ(optics.device.Commands(), Commands{});
    EXPECT_EQ(optics.world.sink.Calls().size(), calls.size());
  }
}

TEST(DeuteriumLamp, SwitchesOff) {
  LampOptics optics;
  optics.Cache(CacheEntry::UVLamp, 1);
  optics.Cache(CacheEntry::Fan, 7);
  optics.device.Script("$f0", std::string(40, 'x'));  // carried out, perhaps
  EXPECT_EQ(optics.unit.SetDeuteriumLamp(FALSE), 0U);
  EXPECT_EQ(optics.device.Commands(), (Commands{"$d0", "$f0"}));
  EXPECT_EQ(optics.Cached(CacheEntry::UVLamp), 0);
  EXPECT_EQ(optics.Cached(CacheEntry::Fan), UNKNOWN) << "the next lighting switches it on";
  EXPECT_EQ(optics.world.sink.Calls(), (Commands{"OnLampSwitching(1)", "OnLampSwitching(0)"}));
}

TEST(DeuteriumLamp, Failures) {
  const struct {
    LONG iSpeed;
    const char* failing;
    Answer answer;
    DWORD dwAfter;
    DWORD dwResult;
    const char* lastCommand;
    Commands commands;
  } cases[] = {
      {50, "", {}, DARK + 10'000, 0, "SetFan", {"$a3", "$d1", "$a3", "$f7"}},
      {50, "", {}, DARK + 9'999, 77, "_SetDeuteriumLamp", {"$a3", "$d1", "$a3", "$d0", "$f0"}},
      {10, "$S50", ERROR, LIT, 77, "SetMonochromatorSpeed", {"$S50"}},
      {10, "$S10", ERROR, LIT, 104, "SetMonochromatorSpeed", {"$S50", "$a3", "$d1", "$a3", "$f7", "$S10"}},
      {50, "$d1", ERROR, LIT, 74, "_SetDeuteriumLamp", {"$a3", "$d1", "$d0", "$f0"}},
      {50, "$d1", {}, LIT, 72, "_SetDeuteriumLamp", {"$a3", "$d1", "$d0", "$f0"}},
      {50, "$f7", ERROR, LIT, 174, "SetFan", {"$a3", "$d1", "$a3", "$f7", "$d0", "$f0"}},
      {50, "$M100", ERROR, LIT, 114, "MoveMonochromator", {TO_LAMP, "$a3", "$d1", "$a3", "$f7", "$M100", "$d0", "$f0"}},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.failing);
    LampOptics optics(c.dwAfter);
    optics.Cache(CacheEntry::MonochromatorSpeed, c.iSpeed);
    optics.Cache(CacheEntry::MonochromatorPosition, c.commands[0] == TO_LAMP ? 100 : UNKNOWN);
    optics.device.Script(c.failing, c.answer);
    EXPECT_EQ(optics.unit.SetDeuteriumLamp(TRUE), c.dwResult);
    Sleep(10);
    EXPECT_EQ(optics.device.Commands(), c.commands);
    EXPECT_EQ(optics.state.LastCommand(), c.lastCommand);
    EXPECT_EQ(optics.Cached(CacheEntry::UVLamp), c.dwResult == 0 || c.dwResult == 104 ? 1 : UNKNOWN);
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
  EXPECT_EQ(optics.world.sink.Calls(), (Commands{"OnLampSwitching(1)", "OnWarmUpCountdown(3)", "OnWarmUpCountdown(2)",
                                                 "OnWarmUpCountdown(0)", "OnLampSwitching(0)"}));
}

}  // namespace
}  // namespace photometer::tests
