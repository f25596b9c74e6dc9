#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "optics/OpticalUnit.h"
#include "platform/Platform.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

using Commands = std::vector<std::string>;

using U = OpticalUnit;
using Entry = CacheEntry;

/// A command of the set: how it is called, what it sends, how its results are numbered.
struct CommandCase {
  const char* name;
  DWORD (*run)(U&);
  const char* command;
  DWORD dwBase;
  Entry entry;
  LONG iCached;
  DWORD dwPause;
};

const std::vector<CommandCase> COMMANDS{
    {"SetFilter", [](U& u) { return u.SetFilter(3); }, "$F3", 0, Entry::Filter, 3, 75},
    {"SetOptoPower", [](U& u) { return u.SetOptoPower(5); }, "$o1", 10, Entry::OptoPower, 1, 500},
    {"SetShutter", [](U& u) { return u.SetShutter(5); }, "$H1", 20, Entry::Shutter, 1, 50},
    {"SetGain", [](U& u) { return u.SetGain(0); }, "$g0", 30, Entry::Gain, 0, 0},
    {"SetMeasurementLength", [](U& u) { return u.SetMeasurementLength(20); }, "$i20", 40, Entry::MeasurementLength, 20,
     0},
    {"SetMirror", [](U& u) { return u.SetMirror(2); }, "$r2", 50, Entry::Mirror, 2, 200},
    {"SetHalogenLamp", [](U& u) { return u.SetHalogenLamp(1, 0); }, "$h1", 60, Entry::HalogenLamp, 1, 200},
    {"SetHalogenLamp", [](U& u) { return u.SetHalogenLamp(1, 1); }, "$h2", 60, Entry::HalogenLamp, 2, 200},
    {"SetHalogenLamp", [](U& u) { return u.SetHalogenLamp(0, 1); }, "$h0", 60, Entry::HalogenLamp, 0, 0},
    {"SetHomePosition", [](U& u) { return u.SetHomePosition(); }, "$z", 80, Entry::None, 0, 0},
    {"SetADSpeed", [](U& u) { return u.SetADSpeed(9); }, "$A9", 90, Entry::ADSpeed, 9, 0},
    {"SetMonochromatorSpeed", [](U& u) { return u.SetMonochromatorSpeed(38400); }, "$S38400", 100,
     Entry::MonochromatorSpeed, 38400, 0},
    {"MoveMonochromator", [](U& u) { return u.MoveMonochromator(-1000); }, "$M-1000", 110, Entry::MonochromatorPosition,
     -1000, 0},
    {"MoveMonochromator", [](U& u) { return u.MoveMonochromator(15000); }, "$M15000", 110, Entry::MonochromatorPosition,
     15000, 0},
    {"ReleaseMonochromator", [](U& u) { return u.ReleaseMonochromator(); }, "$ ", 120, Entry::None, 0, 0},
    {"SetFan", [](U& u) { return u.SetFan(10); }, "$f10", 170, Entry::Fan, 10, 0},
    {"SetTurbidityPower", [](U& u) { return u.SetTurbidityPower(3); }, "$T3", 180, Entry::TurbidityPower, 3, 0},
    {"SetTurbidityGain", [](U& u) { return u.SetTurbidityGain(1); }, "$G1", 190, Entry::TurbidityGain, 1, 0},
};

TEST(OpticalUnit, UnwrittenFirstAndRepeatedCommands) {
  for (const CommandCase& c : COMMANDS) {
    SCOPED_TRACE(c.command);
    Optics optics;
    optics.world.ports.writes.Start(1);
    EXPECT_EQ(c.run(optics.unit), c.dwBase + CAUSE_WRITE);
    EXPECT_EQ(optics.device.Commands(), Commands{});
    optics.device.Emit(0, "error\r\n");  // a stale answer
    Sleep(20);
    const std::uint64_t nStart = optics.world.board.Now();
    EXPECT_EQ(c.run(optics.unit), 0U);
    EXPECT_NEAR(static_cast<double>(optics.world.board.Now() - nStart) / 1000.0, c.dwPause + 2.5, 2.5);
    EXPECT_EQ(c.run(optics.unit), 0U);
    if (c.entry == Entry::None) {
      EXPECT_EQ(optics.device.Commands(), (Commands{c.command, c.command}));
    } else {
      EXPECT_EQ(optics.Cached(c.entry), c.iCached);
      EXPECT_EQ(optics.device.Commands(), Commands{c.command});
    }
    EXPECT_EQ(optics.state.LastCommand(), c.name);
  }
}

/// What comes over the line, and what it counts as.
struct AnswerCase {
  const char* what;
  Answer answer;
  DWORD dwCause;
};

const std::vector<AnswerCase> ANSWERS{
    {"in two pieces, almost a minute apart", {{300, "o"}, {59 * SECOND, "k\r\n"}}, 0},
    {"32 bytes", {{300, std::string(30, '.') + "ok"}}, 0},
    {"33 bytes", {{300, std::string(31, '.') + "ok"}}, CAUSE_TOO_LONG},
    {"error in two pieces", {{300, "err"}, {20'000, "or\r\n"}}, CAUSE_ERROR},
    {"ok and error", {{300, "ok error"}}, CAUSE_ERROR},
    {"silence", {}, CAUSE_SILENCE},
    {"silence after a first piece", {{300, "o"}}, CAUSE_SILENCE},
};

/// A mirror or a lamp may have been set although its command failed, and the monochromator may have moved unless it
/// said that it has not.
bool IsForgotten(Entry entry, DWORD dwCause) {
  return dwCause != CAUSE_ERROR || entry == Entry::Mirror || entry == Entry::HalogenLamp;
}

TEST(OpticalUnit, AnswersOfEveryCommand) {
  for (const CommandCase& c : COMMANDS) {
    for (const AnswerCase& a : ANSWERS) {
      SCOPED_TRACE(std::string(c.command) + ", " + a.what);
      Optics optics;
      const LONG iBefore = c.iCached + 1;
      if (c.entry != Entry::None) {
        optics.Cache(c.entry, iBefore);
      }
      optics.device.Script(c.command, a.answer);
      optics.device.Script(c.command, "ok\r\n");
      EXPECT_EQ(c.run(optics.unit), a.dwCause == 0 ? 0 : c.dwBase + a.dwCause);
      if (a.dwCause != 0 && c.entry != Entry::None) {
        EXPECT_EQ(optics.Cached(c.entry), IsForgotten(c.entry, a.dwCause) ? UNKNOWN : iBefore);
        EXPECT_EQ(c.run(optics.unit), 0U);
        EXPECT_EQ(optics.device.Commands(), (Commands{c.command, c.command}));
      }
    }
  }
}

TEST(OpticalUnit, WhatIsRefusedAndWhatIsSentAllTheSame) {
  const struct {
    DWORD (*run)(U&);
    DWORD dwResult;
    Commands commands;
  } cases[] = {
      {[](U& u) { return u.SetFilter(0xFFFFFFFF); }, 1, {}},
      {[](U& u) { return u.SetMeasurementLength(0); }, 41, {}},
      {[](U& u) { return u.SetMeasurementLength(21); }, 41, {}},
      {[](U& u) { return u.SetMirror(3); }, 51, {}},
      {[](U& u) { return u.SetADSpeed(10); }, 91, {}},
      {[](U& u) { return u.MoveMonochromator(15001); }, 111, {}},
      {[](U& u) { return u.MoveMonochromator(-1001); }, 111, {}},
      {[](U& u) { return u.SetFan(11); }, 171, {}},
      {[](U& u) { return u.SetTurbidityPower(0); }, 181, {}},
      // −1 is not taken for the unknown position.
      {[](U& u) { return u.MoveMonochromator(-1); }, 0, {"$M-1"}},
      // The gain of the turbidity channel is compared as it is given.
      {[](U& u) { return u.SetTurbidityGain(5) + u.SetTurbidityGain(5) + u.SetTurbidityGain(1); }, 0, {"$G1", "$G1"}},
  };
  for (const auto& c : cases) {
    Optics optics;
    optics.Cache(Entry::Mirror, 1);
    EXPECT_EQ(c.run(optics.unit), c.dwResult);
    EXPECT_EQ(optics.device.Commands(), c.commands);
    EXPECT_EQ(optics.Cached(Entry::Mirror), 1);
  }
  Optics withoutDeuterium;
  withoutDeuterium.state.Lock()->m_Params.bUV = 0;
  EXPECT_EQ(withoutDeuterium.unit.SetMirror(1), 0U);
  EXPECT_EQ(withoutDeuterium.device.Commands(), Commands{});
}

TEST(OpticalUnit, HomeSetsPositionLampAndMirror) {
  const std::pair<Answer, LONG> cases[] = {{{{300, "ok"}}, 0}, {{{300, "error"}}, 2}, {{}, UNKNOWN}};
  for (const auto& [answer, iAfter] : cases) {
    Optics optics;
    optics.device.Script("$z", answer);
    for (const CacheEntry entry : {Entry::MonochromatorPosition, Entry::HalogenLamp, Entry::Mirror}) {
      optics.Cache(entry, 2);
    }
    EXPECT_EQ(optics.unit.SetHomePosition() == 0, iAfter == 0);
    for (const CacheEntry entry : {Entry::MonochromatorPosition, Entry::HalogenLamp, Entry::Mirror}) {
      EXPECT_EQ(optics.Cached(entry), iAfter);
    }
  }
}

// ---- firmware version ----

/// What an answer's version is, the corpus of the fuzz target shows.
TEST(OpticalUnit, FirmwareVersionThatIsNotTold) {
  const std::string chatter(100, '.');
  Optics optics;
  optics.device.Script("$v",
                       Answer{{300, chatter}, {25 * SECOND, chatter}, {25 * SECOND, chatter}, {25 * SECOND, "ok"}});
  const std::uint64_t nStart = optics.world.board.Now();
  EXPECT_EQ(optics.unit.ReadFirmwareVersion(), 202U);
  EXPECT_LE(optics.world.board.Now() - nStart, 61 * SECOND);
  optics.world.ports.writes.Start(1);
  EXPECT_EQ(optics.unit.ReadFirmwareVersion(), 205U);
  EXPECT_EQ(std::u16string(optics.state.Lock()->m_Status.szFirmwareVersion), u"-");
}

}  // namespace
}  // namespace photometer::tests
