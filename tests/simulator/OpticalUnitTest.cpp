#include <functional>

#include <gtest/gtest.h>

#include "Bench.h"
#include "simulator/OpticalUnit.h"

namespace simulator {
namespace {

using State = OpticalUnitState;

TEST(OpticalUnit, AnswersEachCommandInPlausibleTimeAndKeepsWhatItSets) {
  struct Case {
    const char* command;
    Time shortest;  // ms
    Time longest;
    std::function<void(State&)> change;
  };
  const Case cases[] = {{"$o1\r", 10, 100, [](State& state) { state.bOptoPower = true; }},
                        {"$F6\r", 300, 400, [](State& state) { state.filter = 6; }},  // the shorter way round
                        {"$F2\r", 600, 700, [](State& state) { state.filter = 2; }},
                        {"$F2\r", 0, 5, [](State&) {}},
                        {"$H1\r", 10, 50, [](State& state) { state.bShutterClosed = true; }},
                        {"$H0\r", 10, 50, [](State& state) { state.bShutterClosed = false; }},
                        {"$g1\r", 1, 10, [](State& state) { state.bHighGain = true; }},
                        {"$i10\r", 0, 5, [](State& state) { state.measurementLength = 10; }},
                        {"$r1\r", 200, 250, [](State& state) { state.mirror = 1; }},
                        {"$h2\r", 0, 50, [](State& state) { state.halogen = 2; }},
                        {"$d1\r", 1000, 5000, [](State& state) { state.bDeuterium = true; }},
                        {"$A5\r", 0, 5, [](State& state) { state.adSpeed = 5; }},
                        {"$S2400\r", 0, 5, [](State& state) { state.speed = 2400; }},
                        {"$S50\r", 0, 5, [](State& state) { state.speed = 50; }},
                        {"$M12500\r", 500, 4000, [](State& state) { state.position = 12500; }},
                        {"$ \r", 0, 5, [](State& state) { state.bMotorReleased = true; }},
                        {"$M-1000\r", 500, 4000,
                         [](State& state) {
                           state.position = -1000;
                           state.bMotorReleased = false;
                         }},
                        {"$z\r", 1000, 3100, [](State& state) { state.position = state.halogen = state.mirror = 0; }},
                        {"$f7\r", 0, 5, [](State& state) { state.fan = 7; }},
                        {"$T3\r", 1, 10, [](State& state) { state.turbidityPower = 3; }},
                        {"$G1\r", 1, 10, [](State& state) { state.bTurbidityHighGain = true; }},
                        {"$d0\r", 0, 5, [](State& state) { state.bDeuterium = false; }},
                        {"$f0\r", 0, 5, [](State& state) { state.fan = 0; }}};
  Bench bench;
  State expected = bench.unit.State();
  for (const Case& oneCase : cases) {
    const Answer answer = bench.Ask(oneCase.command);
    oneCase.change(expected);
    EXPECT_EQ(answer.strBytes, "ok\r\n") << oneCase.command;
    EXPECT_GT(answer.delay, oneCase.shortest * 1000) << oneCase.command;
    EXPECT_LE(answer.delay, oneCase.longest * 1000) << oneCase.command;
    EXPECT_EQ(bench.unit.State(), expected) << oneCase.command;
  }
  EXPECT_EQ(bench.unit.Commands().size(), std::size(cases));
}

TEST(OpticalUnit, RefusesWhatItDoesNotKnow) {
  for (const char* command : {"$F8\r", "$F-1\r", "$F\r", "$i0\r", "$i21\r", "$r3\r", "$A10\r", "$S0\r", "$M-1001\r",
                              "$M15001\r", "$T0\r", "$z1\r", "$a0\r", "$s500\r", "$x1\r", "hello\r"}) {
    Bench bench;
    const State before = bench.unit.State();
    EXPECT_EQ(bench.Ask(command).strBytes, "error\r\n") << command;
    EXPECT_EQ(bench.unit.State(), before) << command;
  }
  Bench bench({.bUV = false});
  EXPECT_EQ(bench.Ask("$r1\r$d1\r$r0\r$d0\r").strBytes, "error\r\nerror\r\nok\r\nok\r\n");
}

TEST(OpticalUnit, CarriesOutGluedCommandsInOrder) {
  Bench bench;
  EXPECT_EQ(bench.Ask("$g1\r$v\r??\r$o1").strBytes, "ok\r\nKESTRA-UV 2.14 ok\r\nerror\r\n");
  EXPECT_EQ(bench.Ask("\r$a3\r").strBytes.size(), 4u + 18u);
  EXPECT_EQ(bench.Ask("$t\r").strBytes.size(), 96u);
}

TEST(OpticalUnit, StreamsOneReadingPerPositionThenThreeBytes) {
  struct Case {
    int first;
    int last;
    int length;
    int speed;
    std::size_t points;
    Time shortest;  // ms
    Time longest;
  };
  const Case cases[] = {{4107, 4151, 1, 38400, 45, 100, 900},
                        {2000, 14499, 1, 2400, 12500, 7000, 60'000},
                        {3000, 3129, 10, 240, 13, 10, 1000},
                        {3000, 3124, 10, 240, 12, 10, 1000},
                        {3000, 3005, 10, 240, 0, 1, 100}};
  for (const Case& oneCase : cases) {
    Bench bench;
    bench.Set({"o1", "M" + std::to_string(oneCase.first), "i" + std::to_string(oneCase.length),
               "S" + std::to_string(oneCase.speed), oneCase.speed == 38400 ? "A9" : "A5"});
    const Answer answer = bench.Ask("$s" + std::to_string(oneCase.last + 1) + "\r");
    EXPECT_EQ(answer.strBytes.size(), oneCase.points * 6 + 3) << oneCase.last;
    EXPECT_EQ(bench.unit.State().position, oneCase.last + 1);
    EXPECT_GE(answer.delay, oneCase.shortest * 1000) << oneCase.last;
    EXPECT_LE(answer.delay, oneCase.longest * 1000) << oneCase.last;
  }
}

TEST(OpticalUnit, EndsAStreamAtTheNextCommand) {
  Bench bench;
  bench.Set({"o1", "M3000", "A5", "S2400", "h1"});
  bench.unit.Receive(bench.now, "$s9001\r");
  bench.now += 100'000;
  const std::size_t nStreamed = bench.unit.TakeOutput(bench.now).size();
  ASSERT_GT(nStreamed, 100u);
  const Answer answer = bench.Ask("$h0\r");
  EXPECT_TRUE(answer.strBytes.ends_with("ok\r\n"));
  EXPECT_LT(answer.delay, 5000u);
  const std::size_t nPoints = static_cast<std::size_t>(bench.unit.State().position - 3000);
  EXPECT_EQ(nStreamed + answer.strBytes.size() - 4, nPoints * 6);
}

TEST(OpticalUnit, SwitchesOffAtOnceInTheMiddleOfAMotion) {
  Bench bench;
  bench.Set({"h1", "d1", "f7", "r2", "S50"});
  bench.unit.Receive(bench.now, "$M12000\r");
  bench.unit.Receive(bench.now + 1000, "$r0\r$d0\r$h0\r$f0\r");
  const State state = bench.unit.State();
  EXPECT_EQ(state.halogen + state.mirror + state.fan + (state.bDeuterium ? 1 : 0), 0);
  EXPECT_NE(state.position, 12000);
  EXPECT_EQ(bench.Ask("").strBytes, "ok\r\nok\r\nok\r\nok\r\nok\r\n");
  EXPECT_EQ(bench.unit.State().position, 12000);
}

TEST(OpticalUnit, HasTheFaultsOfItsPlan) {
  struct Case {
    Fault fault;
    std::string answer;
    bool bCarriedOut;
    Time longest = 10'000;
  };
  const Case cases[] = {
      {{.kind = FaultKind::Silence}, "", false},
      {{.kind = FaultKind::SilentExecution}, "", true},
      {{.kind = FaultKind::Late, .delay = 70'000'000}, "ok\r\n", true, 70'010'000},
      {{.kind = FaultKind::Error}, "error\r\n", false},
      {{.kind = FaultKind::Garbage, .bytes = "\x01\xFF?"}, "\x01\xFF?", true},
      {{.kind = FaultKind::Split, .delay = 500'000, .count = 1}, "ok\r\n", true, 510'000},
      {{.kind = FaultKind::Surplus, .bytes = "!!"}, "ok\r\n!!", true},
      {{.kind = FaultKind::Lost, .count = 1, .first = 1}, "o\r\n", true},
      {{.kind = FaultKind::StaleBefore, .bytes = "ok\r\n"}, "ok\r\nok\r\n", true},
  };
  for (const Case& oneCase : cases) {
    SCOPED_TRACE(static_cast<int>(oneCase.fault.kind));
    Bench bench;
    bench.unit.WireFaults().Add(oneCase.fault);
    const Answer answer = bench.Ask("$g1\r");
    EXPECT_EQ(answer.strBytes, oneCase.answer);
    EXPECT_EQ(bench.unit.State().bHighGain, oneCase.bCarriedOut);
    EXPECT_LE(answer.delay, oneCase.longest);
    EXPECT_GE(answer.delay, oneCase.fault.delay);
  }
}

TEST(OpticalUnit, HasTheFaultsOfItsPlanInStreams) {
  struct Case {
    Fault fault;
    std::size_t bytes;
    int position;
  };
  const Case cases[] = {{{.kind = FaultKind::NoTrailer}, 60, 3010},
                        {{.kind = FaultKind::LateTrailer, .delay = 100'000}, 63, 3010},
                        {{.kind = FaultKind::SurplusPoints, .count = 2}, 75, 3010},
                        {{.kind = FaultKind::StopAfter, .count = 4}, 24, 3004},
                        {{.kind = FaultKind::Lost, .count = 5, .first = 10}, 58, 3010},
                        {{.kind = FaultKind::Split, .delay = 100'000, .count = 5}, 63, 3010},
                        {{.kind = FaultKind::SilentExecution}, 0, 3010},
                        {{.kind = FaultKind::Silence}, 0, 3000}};
  for (Case oneCase : cases) {
    SCOPED_TRACE(static_cast<int>(oneCase.fault.kind));
    Bench bench;
    bench.Set({"o1", "M3000"});
    const Time sound = bench.Ask("$s3010\r").delay;
    bench.Set({"M3000"});
    oneCase.fault.letter = 's';
    bench.unit.WireFaults().Add(oneCase.fault);
    const Answer answer = bench.Ask("$s3010\r");
    EXPECT_EQ(answer.strBytes.size(), oneCase.bytes);
    EXPECT_EQ(bench.unit.State().position, oneCase.position);
    if (oneCase.fault.delay > 0) {
      EXPECT_NEAR(static_cast<double>(answer.delay - sound), 100'000.0, 1000.0);
    }
    EXPECT_EQ(bench.Ask("$g0\r").strBytes, "ok\r\n") << "the unit must be as before";
  }
}

TEST(OpticalUnit, ForgetsEverythingWithoutPower) {
  Bench bench;
  bench.Set({"o1", "h1", "F3", "A5"});
  bench.unit.Receive(bench.now, "$M9000\r$g1\r");
  bench.unit.SwitchPower(bench.now, false);
  EXPECT_EQ(bench.Ask("$v\r").strBytes, "");
  bench.unit.SwitchPower(bench.now, true);
  EXPECT_EQ(bench.unit.State(), OpticalUnit().State());
  EXPECT_EQ(bench.Ask("$v\r").strBytes, "KESTRA-UV 2.14 ok\r\n");
}

}  // namespace
}  // namespace simulator
