#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "optics/OpticalUnit.h"
#include "platform/Platform.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

using Commands = std::vector<std::string>;

/// A command of the set: how it is called, what it sends, how its results are numbered.
struct CommandCase {
  const char* call;
  DWORD (*run)(OpticalUnit&);
  const char* command;
  DWORD dwBase;
  CacheEntry entry;
  LONG iCached;
  DWORD dwPause;
};

const std::vector<CommandCase> COMMANDS{
    {"SetFilter(3)", [](OpticalUnit& u) { return u.SetFilter(3); }, "$F3", 0, CacheEntry::Filter, 3, 75},
    {"SetOptoPower(5)", [](OpticalUnit& u) { return u.SetOptoPower(5); }, "$o1", 10, CacheEntry::OptoPower, 1, 500},
    {"SetShutter(5)", [](OpticalUnit& u) { return u.SetShutter(5); }, "$H1", 20, CacheEntry::Shutter, 1, 50},
    {"SetGain(0)", [](OpticalUnit& u) { return u.SetGain(0); }, "$g0", 30, CacheEntry::Gain, 0, 0},
    {"SetMeasurementLength(20)", [](OpticalUnit& u) { return u.SetMeasurementLength(20); }, "$i20", 40,
     CacheEntry::MeasurementLength, 20, 0},
    {"SetMirror(2)", [](OpticalUnit& u) { return u.SetMirror(2); }, "$r2", 50, CacheEntry::Mirror, 2, 200},
    {"SetHalogenLamp(1, 0)", [](OpticalUnit& u) { return u.SetHalogenLamp(1, 0); }, "$h1", 60, CacheEntry::HalogenLamp,
     1, 200},
    {"SetHalogenLamp(1, 1)", [](OpticalUnit& u) { return u.SetHalogenLamp(1, 1); }, "$h2", 60, CacheEntry::HalogenLamp,
     2, 200},
    {"SetHalogenLamp(0, 1)", [](OpticalUnit& u) { return u.SetHalogenLamp(0, 1); }, "$h0", 60, CacheEntry::HalogenLamp,
     0, 0},
    {"SetHomePosition()", [](OpticalUnit& u) { return u.SetHomePosition(); }, "$z", 80, CacheEntry::None, 0, 0},
    {"SetADSpeed(9)", [](OpticalUnit& u) { return u.SetADSpeed(9); }, "$A9", 90, CacheEntry::ADSpeed, 9, 0},
    {"SetMonochromatorSpeed(38400)", [](OpticalUnit& u) { return u.SetMonochromatorSpeed(38400); }, "$S38400", 100,
     CacheEntry::MonochromatorSpeed, 38400, 0},
    {"MoveMonochromator(-1000)", [](OpticalUnit& u) { return u.MoveMonochromator(-1000); }, "$M-1000", 110,
     CacheEntry::MonochromatorPosition, -1000, 0},
    {"MoveMonochromator(15000)", [](OpticalUnit& u) { return u.MoveMonochromator(15000); }, "$M15000", 110,
     CacheEntry::MonochromatorPosition, 15000, 0},
    {"ReleaseMonochromator()", [](OpticalUnit& u) { return u.ReleaseMonochromator(); }, "$ ", 120, CacheEntry::None, 0,
     0},
    {"SetFan(10)", [](OpticalUnit& u) { return u.SetFan(10); }, "$f10", 170, CacheEntry::Fan, 10, 0},
    {"SetTurbidityPower(3)", [](OpticalUnit& u) { return u.SetTurbidityPower(3); }, "$T3", 180,
     CacheEntry::TurbidityPower, 3, 0},
    {"SetTurbidityGain(1)", [](OpticalUnit& u) { return u.SetTurbidityGain(1); }, "$G1", 190, CacheEntry::TurbidityGain,
     1, 0},
};

TEST(OpticalUnit, FirstAndRepeatedCommands) {
  for (const CommandCase& c : COMMANDS) {
    SCOPED_TRACE(c.call);
    Optics optics;
    const std::uint64_t nStart = optics.world.board.Now();
    EXPECT_EQ(c.run(optics.unit), 0U);
    const std::uint64_t nMilliseconds = (optics.world.board.Now() - nStart) / 1000;
    EXPECT_GE(nMilliseconds, c.dwPause);
    EXPECT_LE(nMilliseconds, c.dwPause + 5);
    if (c.entry == CacheEntry::None) {
      EXPECT_EQ(c.run(optics.unit), 0U);
      EXPECT_EQ(optics.device.Commands(), (Commands{c.command, c.command}));
    } else {
      EXPECT_EQ(optics.Cached(c.entry), c.iCached);
      EXPECT_EQ(c.run(optics.unit), 0U);
      EXPECT_EQ(optics.device.Commands(), Commands{c.command});
    }
    const std::string call(c.call);
    EXPECT_EQ(optics.state.LastCommand(), call.substr(0, call.find('(')));
  }
}

/// What comes over the line, and what it counts as.
struct AnswerCase {
  const char* what;
  Answer answer;
  DWORD dwCause;
};

const std::vector<AnswerCase> ANSWERS{
    {"without a line end", {{300, "ok"}}, 0},
    {"in two pieces", {{300, "o"}, {20'000, "k"}}, 0},
    {"in two pieces, almost a minute apart", {{300, "o"}, {59 * SECOND, "k\r\n"}}, 0},
    {"with text in front", {{300, "\r\nposition ok\r\n"}}, 0},
    {"32 bytes", {{300, std::string(30, '.') + "ok"}}, 0},
    {"33 bytes", {{300, std::string(31, '.') + "ok"}}, 3},
    {"too long in pieces", {{300, std::string(20, '.')}, {5000, std::string(20, '.')}}, 3},
    {"error", {{300, "error\r\n"}}, 4},
    {"error in two pieces", {{300, "err"}, {20'000, "or\r\n"}}, 4},
    {"ok and error", {{300, "ok error"}}, 4},
    {"silence", {}, 2},
    {"silence after a first piece", {{300, "o"}}, 2},
};

TEST(OpticalUnit, AnswersOfEveryCommand) {
  for (const CommandCase& c : COMMANDS) {
    for (const AnswerCase& a : ANSWERS) {
      SCOPED_TRACE(std::string(c.call) + ", " + a.what);
      Optics optics;
      optics.device.Script(c.command, a.answer);
      optics.device.Script(c.command, "ok\r\n");
      EXPECT_EQ(c.run(optics.unit), a.dwCause == 0 ? 0 : c.dwBase + a.dwCause);
      if (a.dwCause != 0 && c.entry != CacheEntry::None) {
        EXPECT_EQ(optics.Cached(c.entry), UNKNOWN);
        EXPECT_EQ(c.run(optics.unit), 0U);
        EXPECT_EQ(optics.device.Commands(), (Commands{c.command, c.command}));
      }
    }
  }
}

TEST(OpticalUnit, FailedWritesAndStaleAnswers) {
  for (const CommandCase& c : COMMANDS) {
    SCOPED_TRACE(c.call);
    Optics optics;
    optics.world.ports.writes.Start(1);
    EXPECT_EQ(c.run(optics.unit), c.dwBase + CAUSE_WRITE);
    EXPECT_EQ(optics.device.Commands(), Commands{});
    optics.device.Emit(0, "error\r\n");
    Sleep(20);
    EXPECT_EQ(c.run(optics.unit), 0U);
  }
}

TEST(OpticalUnit, OutOfRange) {
  struct {
    const char* call;
    DWORD (*run)(OpticalUnit&);
    DWORD dwResult;
  } const cases[] = {
      {"SetFilter(8)", [](OpticalUnit& u) { return u.SetFilter(8); }, 1},
      {"SetFilter(4294967295)", [](OpticalUnit& u) { return u.SetFilter(0xFFFFFFFF); }, 1},
      {"SetMeasurementLength(0)", [](OpticalUnit& u) { return u.SetMeasurementLength(0); }, 41},
      {"SetMeasurementLength(21)", [](OpticalUnit& u) { return u.SetMeasurementLength(21); }, 41},
      {"SetMirror(3)", [](OpticalUnit& u) { return u.SetMirror(3); }, 51},
      {"SetADSpeed(10)", [](OpticalUnit& u) { return u.SetADSpeed(10); }, 91},
      {"MoveMonochromator(15001)", [](OpticalUnit& u) { return u.MoveMonochromator(15001); }, 111},
      {"MoveMonochromator(-1001)", [](OpticalUnit& u) { return u.MoveMonochromator(-1001); }, 111},
      {"SetFan(11)", [](OpticalUnit& u) { return u.SetFan(11); }, 171},
      {"SetTurbidityPower(0)", [](OpticalUnit& u) { return u.SetTurbidityPower(0); }, 181},
      {"SetTurbidityPower(4)", [](OpticalUnit& u) { return u.SetTurbidityPower(4); }, 181},
  };
  Optics optics;
  for (const auto& c : cases) {
    EXPECT_EQ(c.run(optics.unit), c.dwResult) << c.call;
  }
  EXPECT_EQ(optics.device.Commands(), Commands{});
}

TEST(OpticalUnit, MirrorIsNotThereWithoutDeuteriumPath) {
  Optics optics;
  optics.state.Lock()->m_Params.bUV = 0;
  EXPECT_EQ(optics.unit.SetMirror(1), 0U);
  EXPECT_EQ(optics.device.Commands(), Commands{});
  EXPECT_EQ(optics.Cached(CacheEntry::Mirror), UNKNOWN);
}

TEST(OpticalUnit, PositionMinusOneIsNotTakenForTheUnknownOne) {
  Optics optics;
  EXPECT_EQ(optics.unit.MoveMonochromator(-1), 0U);
  EXPECT_EQ(optics.device.Commands(), Commands{"$M-1"});
}

TEST(OpticalUnit, TurbidityGainIsComparedAsGiven) {
  Optics optics;
  EXPECT_EQ(optics.unit.SetTurbidityGain(5), 0U);
  EXPECT_EQ(optics.unit.SetTurbidityGain(5), 0U);
  EXPECT_EQ(optics.unit.SetTurbidityGain(1), 0U);
  EXPECT_EQ(optics.device.Commands(), (Commands{"$G1", "$G1"}));
}

TEST(OpticalUnit, HomeSetsPositionLampAndMirror) {
  Optics optics;
  for (const CacheEntry entry : {CacheEntry::MonochromatorPosition, CacheEntry::HalogenLamp, CacheEntry::Mirror}) {
    optics.Cache(entry, 2);
  }
  EXPECT_EQ(optics.unit.SetHomePosition(), 0U);
  for (const CacheEntry entry : {CacheEntry::MonochromatorPosition, CacheEntry::HalogenLamp, CacheEntry::Mirror}) {
    EXPECT_EQ(optics.Cached(entry), 0);
  }
}

TEST(OpticalUnit, PositionIsUnknownAfterAMoveWithoutAnswer) {
  struct {
    const char* command;
    DWORD (*run)(OpticalUnit&);
    Answer answer;
    LONG iCached;
  } const cases[] = {
      {"$M3000", [](OpticalUnit& u) { return u.MoveMonochromator(3000); }, {}, UNKNOWN},
      {"$M3000", [](OpticalUnit& u) { return u.MoveMonochromator(3000); }, {{300, std::string(40, '.')}}, UNKNOWN},
      {"$M3000", [](OpticalUnit& u) { return u.MoveMonochromator(3000); }, {{300, "error"}}, 2500},
      {"$z", [](OpticalUnit& u) { return u.SetHomePosition(); }, {}, UNKNOWN},
      {"$z", [](OpticalUnit& u) { return u.SetHomePosition(); }, {{300, "error"}}, 2500},
  };
  for (const auto& c : cases) {
    Optics optics;
    optics.Cache(CacheEntry::MonochromatorPosition, 2500);
    optics.device.Script(c.command, c.answer);
    EXPECT_NE(c.run(optics.unit), 0U);
    EXPECT_EQ(optics.Cached(CacheEntry::MonochromatorPosition), c.iCached) << c.command;
  }
}

TEST(OpticalUnit, HalogenLampIsSwitchedOffAfterALightingThatFailed) {
  for (const Answer& answer : {Answer{}, Answer{{300, "error"}}, Answer{{300, std::string(40, '.')}}}) {
    Optics optics;
    optics.Cache(CacheEntry::HalogenLamp, 0);
    optics.device.Script("$h2", answer);
    EXPECT_NE(optics.unit.SetHalogenLamp(TRUE, TRUE), 0U);
    EXPECT_EQ(optics.unit.SetHalogenLamp(FALSE, FALSE), 0U);
    EXPECT_EQ(optics.device.Commands(), (Commands{"$h2", "$h0"}));
  }
}

// ---- firmware version ----

TEST(OpticalUnit, FirmwareVersion) {
  const std::string chatter(100, '.');
  struct {
    const char* what;
    Answer answer;
    DWORD dwResult;
    std::u16string version;
  } const cases[] = {
      {"in one piece", {{300, "KESTRA-UV 2.14 ok\r\n"}}, 0, u"KESTRA-UV 2.14 "},
      {"in pieces, the last beginning with k", {{300, "2."}, {30'000, "14\r\no"}, {30'000, "k"}}, 0, u"2.14\r\n"},
      {"error is no answer", {{300, "error ok"}}, 0, u"error "},
      {"no text", {{300, "ok"}}, 0, u""},
      {"longer than the field", {{300, std::string(40, 'v') + "ok"}}, 0, std::u16string(31, u'v')},
      {"Windows-1252", {{300, "\xB5\x80 ok"}}, 0, u"µ€ "},
      {"silence", {}, 202, u"-"},
      {"a text without end", {{300, "2.14"}}, 202, u"-"},
      {"chatter", {{300, chatter}, {25 * SECOND, chatter}, {25 * SECOND, chatter}, {25 * SECOND, "ok"}}, 202, u"-"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.what);
    Optics optics;
    optics.device.Script("$v", c.answer);
    const std::uint64_t nStart = optics.world.board.Now();
    EXPECT_EQ(optics.unit.ReadFirmwareVersion(), c.dwResult);
    EXPECT_LE(optics.world.board.Now() - nStart, 61 * SECOND);
    EXPECT_EQ(std::u16string(optics.state.Lock()->m_Status.szFirmwareVersion), c.version);
  }
}

TEST(OpticalUnit, FirmwareVersionThatCannotBeAskedFor) {
  Optics optics;
  optics.world.ports.writes.Start(1);
  EXPECT_EQ(optics.unit.ReadFirmwareVersion(), 205U);
  EXPECT_EQ(std::u16string(optics.state.Lock()->m_Status.szFirmwareVersion), u"-");
}

}  // namespace
}  // namespace photometer::tests
