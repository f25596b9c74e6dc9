// The commands around pumps, lamps and events on the simulated instrument, from the command line to their results.
#include <map>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ByteText.h"
#include "host/Spoken.h"
#include "support/TemporaryFolder.h"

namespace host {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

/// The value of an item of `info` and `pump`.
json Item(const json& result, const std::string& name) {
  for (const json& row : result["rows"]) {
    if (row["item"] == name) {
      return row["value"];
    }
  }
  return "no such item: " + name;
}

/// `name=value` of each JSON line.
std::vector<std::string> Events(const Spoken& spoken) {
  std::vector<std::string> events;
  std::istringstream lines(spoken.results);
  for (std::string line; std::getline(lines, line);) {
    const json event = json::parse(line);
    events.push_back(event["event"].get<std::string>() + "=" + event.value("value", json()).dump());
  }
  return events;
}

TEST(WatchCommand, TellsWhatHappens) {
  const struct {
    Words arguments;
    Words events;
  } cases[] = {
      {{"--happens", "20s:remove", "--happens", "10s:insert"}, {"cuvette=10", "cuvette=0"}},
      {{"--happens", "5s:say:\x01ok:5"}, {R"(external="\\x01ok:5\\x0D\\x0A")"}},
      {{"--check-interval", "1"}, {"check-due=null"}},
      {{"--pump", "zq410", "--happens", "5s:key-a", "--happens", "10s:key-b", "--happens", "30s:unplug-pump",
        "--happens", "40s:plug-pump"},
       {R"(pump-key="A")", R"(pump-key="B")", "pump=false", "pump=true"}},
      // Asked each second, its port opened again, and its loss told once.
      {{"--pump", "zq420", "--happens", "20s:unplug-pump", "--happens", "30s:plug-pump"},
       {R"(pump-info="1.04")", "pump=false", "pump-port-lost=null", "pump=true", R"(pump-info="1.04")"}},
      // It says nothing for too long.
      {{"--pump", "zq410", "--pump-fault", "keep-alive-stops:delay=20000"}, {"pump=false"}},
      // A start-up that was not passed ends nothing.
      {{"--offset", "40", "--happens", "10s:insert"}, {"cuvette=10"}},
  };
  for (const auto& one : cases) {
    const Spoken spoken = SimulateJson(Joined({"watch", "--for", "90s"}, one.arguments));
    EXPECT_EQ(spoken.code, ExitCode::Success) << spoken.messages;
    EXPECT_EQ(Events(spoken), Joined(Joined({"begin=null"}, one.events), {"end=null"}))
        << testing::PrintToString(one.arguments) << spoken.results;
  }
}

TEST(WatchCommand, WritesEachFormWithTheTimeOfTheEvent) {
  const Words arguments = {"watch", "--for", "20s", "--happens", "10s:insert"};
  EXPECT_THAT(Simulate(arguments).results, testing::MatchesRegex("..:..:......  cuvette inserted: 10 mm\n"));
  EXPECT_THAT(Simulate(Joined(arguments, {"--format", "csv"})).results,
              testing::MatchesRegex("time,event,value,text\n2026.*,begin,\"watch\",\"simulated, seed 1, .*\"\n"
                                    "2026.*,cuvette,10,\"cuvette inserted: 10 mm\"\n.*,end,,\"the time is over\"\n"));
  const Spoken ended = SimulateJson({"watch", "--for", "168h"}, {.strInterruptAt = "watching"});
  EXPECT_EQ(ended.code, ExitCode::Success);
  EXPECT_THAT(ended.results, HasSubstr("ended by a person"));
}

TEST(ExternalCommand, SendsWhatIsTypedAndShowsWhatArrives) {
  const struct {
    Words arguments;
    Words typed;
    std::string shown;
  } cases[] = {
      {{}, {"V;a\\x03\n"}, "V;a\\x03\\x0D\n"},
      {{"--line-end", "lf"}, {"one\ntwo\nth", "ree\n"}, "one\\x0A\ntwo\\x0A\nthree\\x0A\n"},
      {{"--line-end", "none"}, {"\\x0", "2\xFF\n", "no end of line"}, "\\x02\\xFF\nno end of line\n"},
      {{"--linger", "3s", "--happens", "2s:say:late"}, {}, "late\\x0D\\x0A\n"},
      {{"--linger", "1s", "--happens", "3s:say:too late"}, {}, ""},
  };
  for (const auto& one : cases) {
    const Spoken spoken = Simulate(Joined({"external"}, one.arguments), {.typed = one.typed});
    EXPECT_EQ(spoken.code, ExitCode::Success) << spoken.messages;
    EXPECT_EQ(spoken.results, one.shown) << testing::PrintToString(one.typed);
  }
  EXPECT_THAT(Events(SimulateJson({"external"}, {.typed = {"hello\n"}})),
              ElementsAre("begin=null", R"(sent="hello\\x0D")", R"(received="hello\\x0D")", "end=null"));
}

TEST(ByteText, TakesBytesAndLeavesTheRest) { EXPECT_EQ(BytesOf("\\x41\\x0a\\xg1\\x-1\\x4"), "A\n\\xg1\\x-1\\x4"); }

TEST(LampCommand, LightsTheLampAndTellsItsEnd) {
  const struct {
    Words arguments;
    std::string strInterruptAt;
    ExitCode code;
    bool bLit;
    int iSeconds;
    std::string end;
  } cases[] = {
      {{"on", "--session", "7", "--for", "2h"}, "", ExitCode::Success, true, 7200, "the time is over"},
      {{"on", "--uv-session-time", "600"}, "", ExitCode::Success, false, 600, "after 10 min 0 s without a run"},
      // Ten hours, the minute of its warm-up included.
      {{"on", "--session", "7", "--warm-up", "1min"}, "", ExitCode::Success, false, 35936, "ten hours"},
      {{"on", "--defect", "dead-deuterium"}, "", ExitCode::InstrumentError, false, 0, "not lit"},
      {{"on"}, "warms up: 60", ExitCode::Cancelled, false, 0, "cancelled"},
      {{"on"}, "lamp is lit", ExitCode::Success, true, 0, "ended by a person"},
      {{"off"}, "", ExitCode::Success, false, 0, "switched off"},
  };
  for (const auto& one : cases) {
    const Spoken spoken = SimulateJson(Joined({"lamp", "uv"}, one.arguments), {.strInterruptAt = one.strInterruptAt});
    EXPECT_EQ(spoken.code, one.code) << spoken.messages;
    const json row = spoken.Result()["rows"][0];
    EXPECT_EQ(row["lit"], one.bLit ? "yes" : "no") << one.end;
    EXPECT_NEAR(row["lit_s"].get<int>(), one.iSeconds, 3) << one.end;
    EXPECT_THAT(row["end"].get<std::string>(), HasSubstr(one.end));
  }
}

TEST(FlushCommand, TellsTheEndOfTheFlush) {
  const struct {
    Words arguments;
    std::string strInterruptAt;
    ExitCode code;
    double dSeconds;
    std::string end;
    json error;
  } cases[] = {
      {{"zq410"}, "", ExitCode::Success, 5, "completed", nullptr},
      {{"zq420", "--time", "7s"}, "", ExitCode::Success, 7, "completed", nullptr},
      {{"zq420", "--pump-time", "8", "--offset", "40"}, "", ExitCode::Success, 8, "completed", nullptr},
      {{"zq410", "--pump-fault", "error:2"}, "", ExitCode::InstrumentError, 5, "failed", 524},
      {{"zq420", "--pump-fault", "pumping:count=5:delay=3000"}, "", ExitCode::InstrumentError, 3, "failed", 616},
      {{"zq420", "--time", "60s"}, "flushing", ExitCode::Cancelled, 0, "stopped", nullptr},
      {{"zq410"}, "flushing", ExitCode::Cancelled, 5, "stopped", nullptr},
  };
  for (const auto& one : cases) {
    const Spoken spoken =
        SimulateJson(Joined({"flush", "--pump"}, one.arguments), {.strInterruptAt = one.strInterruptAt});
    EXPECT_EQ(spoken.code, one.code) << spoken.messages;
    const json row = spoken.Result()["rows"][0];
    EXPECT_NEAR(row["duration_s"].get<double>(), one.dSeconds, 0.5) << spoken.messages;
    EXPECT_EQ(row["end"], one.end) << spoken.messages;
    EXPECT_EQ(spoken.Result()["error"], one.error) << spoken.messages;
  }
}

TEST(PumpCommand, TellsWhatThePumpTellsAndSetsItsParameters) {
  const struct {
    Words arguments;
    json error;
    std::map<std::string, json> items;
    std::string message;
  } cases[] = {
      {{"zq410", "--pump-time", "4"}, nullptr, {{"pump version", "V01.07"}, {"pump time", 4}}, "is connected"},
      // The cycle is in its running time.
      {{"zq420", "--step", "--pump-time", "9"}, nullptr, {{"pump running time", "0:00:09"}}, "sample settles"},
      {{"zq410", "--set", "7,120"}, nullptr, {{"pump time", 7}, {"second parameter", 120}}, "acknowledged pump time 7"},
      {{"zq410", "--set", "7,120", "--pump-fault", "silence:H"}, 542, {}, "not acknowledged"},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(testing::PrintToString(one.arguments));
    const Spoken spoken = SimulateJson(Joined({"pump", "--pump"}, one.arguments));
    EXPECT_EQ(spoken.code, one.error.is_null() ? ExitCode::Success : ExitCode::InstrumentError);
    EXPECT_EQ(spoken.Result()["error"], one.error);
    EXPECT_THAT(spoken.messages, HasSubstr(one.message));
    for (const auto& [name, value] : one.items) {
      EXPECT_EQ(Item(spoken.Result(), name), value) << name;
    }
  }
}

TEST(RunCommand, TellsARunThatEndsWithoutTellingHow) {
  for (const Words& command : {Words{"measure", "--wavelengths", "436"}, {"pump", "--step"}}) {
    const Spoken spoken = SimulateJson(Joined(command, {"--pump", "zq410", "--pump-fault", "error:1"}));
    EXPECT_EQ(spoken.code, ExitCode::NoEnd) << spoken.messages;
    EXPECT_EQ(spoken.Result()["outcome"], "no end");
    EXPECT_EQ(spoken.Result()["error"], 514);
    EXPECT_THAT(spoken.messages,
                testing::AllOf(HasSubstr("|  [Measure] Pump(), iResult= 514\n"), HasSubstr("error 514 (PumpZQ410)")));
  }
}

TEST(InfoCommand, TellsVersionsLampHoursAndStatus) {
  const Spoken sound = SimulateJson({"info"});
  EXPECT_EQ(sound.code, ExitCode::Success) << sound.messages;
  const json result = sound.Result();
  EXPECT_EQ(Item(result, "library version"), "1.16.1");
  EXPECT_EQ(Item(result, "firmware"), result["firmware"]);
  EXPECT_EQ(Item(result, "start-up"), "passed");
  EXPECT_NEAR(Item(result, "halogen lamp hours").get<double>(), 412.5, 0.015) << "with the start-up";
  EXPECT_EQ(Item(result, "deuterium lamp hours"), 96.25);
  const Spoken failed = SimulateJson({"info", "--offset", "40"});
  EXPECT_EQ(failed.code, ExitCode::Success) << failed.messages;
  EXPECT_THAT(Item(failed.Result(), "start-up").get<std::string>(), HasSubstr("failed: error -2"));
  EXPECT_EQ(Item(failed.Result(), "pump"), "none");
}

TEST(AttendedCommands, JoinAKeptInstrument) {
  const photometer::tests::TemporaryFolder folder;
  const Words run = {"run", folder.At("script.txt"), "--pump", "zq410"};
  folder.Write("script.txt", "external\n");
  EXPECT_EQ(Simulate(run).code, ExitCode::BadInput) << "the port is the pump's";
  folder.Write("script.txt",
               "pump --set 7,120\nlamp uv on --session 3 --warm-up 20s\n"
               "watch --for 20s --happens 5s:insert --happens 10s:key-a\ninfo --output " +
                   folder.At("info.json") + "\npump --output " + folder.At("pump.json") + "\nlamp uv off\n");
  const Spoken spoken = Simulate(run);
  EXPECT_EQ(spoken.code, ExitCode::Success) << spoken.messages;
  EXPECT_THAT(spoken.results, testing::AllOf(HasSubstr("left on"), HasSubstr("cuvette inserted: 10 mm\n"),
                                             HasSubstr("key A of the pump\n"), HasSubstr("switched off")));
  const json info = json::parse(folder.Read("info.json"));
  EXPECT_EQ(Item(info, "deuterium lamp"), "on");
  EXPECT_EQ(Item(info, "cuvette"), "10 mm");
  EXPECT_EQ(Item(info, "pump version"), "V01.07");
  EXPECT_EQ(Item(json::parse(folder.Read("pump.json")), "pump time"), 7) << "it holds from then on";
}

}  // namespace
}  // namespace host
