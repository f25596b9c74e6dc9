// The commands around pumps, lamps and events on the simulated instrument, from the command line to their results.
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ByteText.h"
#include "CommandLine.h"
#include "host/TemporaryFolder.h"

namespace host {
namespace {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

/// A person who presses Ctrl-C when a message has appeared so and so often.
class Person final : public std::stringbuf {
 public:
  Person(std::string words, Interrupt& interrupt) : m_strWords(std::move(words)), m_interrupt(interrupt) {}

 private:
  int sync() override {
    if (!m_strWords.empty() && str().find(m_strWords) != std::string::npos) {
      m_strWords.clear();
      m_interrupt.Raise();
    }
    return 0;
  }

  std::string m_strWords;
  Interrupt& m_interrupt;
};

/// Gives one text after the other, and nothing in between.
class Typed final : public Input {
 public:
  explicit Typed(std::vector<std::string> texts) : m_texts(std::move(texts)) {}
  std::optional<std::string> Read(int /*iMilliseconds*/) override {
    if (m_iReads++ % 20 != 0) {
      return std::string();
    }
    const std::size_t nText = m_nNext++;
    return nText < m_texts.size() ? std::optional(m_texts[nText]) : std::nullopt;
  }

 private:
  std::vector<std::string> m_texts;
  std::size_t m_nNext = 0;
  int m_iReads = 0;
};

struct Spoken {
  ExitCode code;
  std::string results;
  std::string messages;

  [[nodiscard]] json Result() const { return json::parse(results); }
  /// The value of an item of `info` and `pump`.
  [[nodiscard]] json Item(const std::string& name) const {
    const json result = Result();
    for (const json& row : result["rows"]) {
      if (row["item"] == name) {
        return row["value"];
      }
    }
    return "no such item: " + name;
  }
  /// `name=value` of each JSON line.
  [[nodiscard]] std::vector<std::string> Events() const {
    std::vector<std::string> events;
    std::istringstream lines(results);
    for (std::string line; std::getline(lines, line);) {
      const json event = json::parse(line);
      events.push_back(event["event"].get<std::string>() + "=" + event.value("value", json()).dump());
    }
    return events;
  }
};

struct Company {
  std::vector<std::string> typed = {};
  /// Ctrl-C when this message appears.
  std::string strInterruptAt = {};
};

Spoken Speak(std::vector<std::string> arguments, const Company& company = {}, bool bJson = true) {
  arguments.emplace_back("--simulate");
  if (bJson) {
    arguments.insert(arguments.end(), {"--format", "json"});
  }
  std::ostringstream results;
  Interrupt interrupt;
  Person person(company.strInterruptAt, interrupt);
  std::ostream messages(&person);
  Typed typed(company.typed);
  Console console{results, messages, false, interrupt, nullptr, &typed};
  const ExitCode code = RunCommandLine(arguments, console);
  return {code, results.str(), person.str()};
}

TEST(WatchCommand, TellsWhatHappens) {
  const struct {
    std::vector<std::string> arguments;
    std::vector<std::string> events;
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
    std::vector<std::string> arguments = {"watch", "--for", "90s"};
    arguments.insert(arguments.end(), one.arguments.begin(), one.arguments.end());
    const Spoken spoken = Speak(arguments);
    EXPECT_EQ(spoken.code, ExitCode::Success) << spoken.messages;
    std::vector<std::string> expected = one.events;
    expected.insert(expected.begin(), "begin=null");
    expected.emplace_back("end=null");
    EXPECT_EQ(spoken.Events(), expected) << testing::PrintToString(one.arguments) << spoken.results;
  }
}

TEST(WatchCommand, WritesEachFormWithTheTimeOfTheEvent) {
  const std::vector<std::string> arguments = {"watch", "--for", "20s", "--happens", "10s:insert"};
  const Spoken table = Speak(arguments, {}, false);
  EXPECT_THAT(table.results, testing::MatchesRegex("..:..:......  cuvette inserted: 10 mm\n"));
  std::vector<std::string> csv = arguments;
  csv.insert(csv.end(), {"--format", "csv"});
  EXPECT_THAT(Speak(csv, {}, false).results,
              testing::MatchesRegex("time,event,value,text\n2026.*,begin,\"watch\",\"simulated, seed 1, .*\"\n"
                                    "2026.*,cuvette,10,\"cuvette inserted: 10 mm\"\n.*,end,,\"the time is over\"\n"));
  const Spoken ended = Speak({"watch", "--for", "168h"}, {.strInterruptAt = "watching"});
  EXPECT_EQ(ended.code, ExitCode::Success);
  EXPECT_THAT(ended.results, HasSubstr("ended by a person"));
}

TEST(ExternalCommand, SendsWhatIsTypedAndShowsWhatArrives) {
  const struct {
    std::vector<std::string> arguments;
    std::vector<std::string> typed;
    std::string shown;
  } cases[] = {
      {{}, {"V;a\\x03\n"}, "V;a\\x03\\x0D\n"},
      {{"--line-end", "lf"}, {"one\ntwo\nth", "ree\n"}, "one\\x0A\ntwo\\x0A\nthree\\x0A\n"},
      {{"--line-end", "none"}, {"\\x0", "2\xFF\n", "no end of line"}, "\\x02\\xFF\nno end of line\n"},
      {{"--linger", "3s", "--happens", "2s:say:late"}, {}, "late\\x0D\\x0A\n"},
      {{"--linger", "1s", "--happens", "3s:say:too late"}, {}, ""},
  };
  for (const auto& one : cases) {
    std::vector<std::string> arguments = {"external"};
    arguments.insert(arguments.end(), one.arguments.begin(), one.arguments.end());
    const Spoken spoken = Speak(arguments, {.typed = one.typed}, false);
    EXPECT_EQ(spoken.code, ExitCode::Success) << spoken.messages;
    EXPECT_EQ(spoken.results, one.shown) << testing::PrintToString(one.typed);
  }
  EXPECT_THAT(Speak({"external"}, {.typed = {"hello\n"}}).Events(),
              ElementsAre("begin=null", R"(sent="hello\\x0D")", R"(received="hello\\x0D")", "end=null"));
}

TEST(ByteText, TakesBytesAndLeavesTheRest) {
  const std::pair<const char*, const char*> cases[] = {
      {"", ""}, {"\\x41\\x0a", "A\n"}, {"\\", "\\"}, {"\\x", "\\x"}, {"\\x4", "\\x4"}, {"\\xg1\\x-1", "\\xg1\\x-1"}};
  for (const auto& [text, bytes] : cases) {
    EXPECT_EQ(BytesOf(text), bytes);
  }
}

TEST(LampCommand, LightsTheLampAndTellsItsEnd) {
  const struct {
    std::vector<std::string> arguments;
    std::string strInterruptAt;
    ExitCode code;
    bool bLit;
    int iSeconds;
    std::string end;
    std::string message;
  } cases[] = {
      {{"on", "--session", "7", "--for", "2h"},
       "",
       ExitCode::Success,
       true,
       7200,
       "the time is over",
       "the deuterium lamp has warmed up"},
      {{"on", "--uv-session-time", "600"}, "", ExitCode::Success, false, 600, "after 10 min 0 s without a run", "lit"},
      // Ten hours, the minute of its warm-up included.
      {{"on", "--session", "7", "--warm-up", "1min"}, "", ExitCode::Success, false, 35936, "ten hours", "switched"},
      {{"on", "--for", "1h", "--defect", "dead-deuterium"},
       "",
       ExitCode::InstrumentError,
       false,
       0,
       "not lit",
       "did not light"},
      {{"on"}, "warms up: 60", ExitCode::Cancelled, false, 0, "cancelled", "cancelled"},
      {{"on"}, "lamp is lit", ExitCode::Success, true, 0, "ended by a person", "switched off with the instrument"},
      {{"off"}, "", ExitCode::Success, false, 0, "switched off", "is off"},
  };
  for (const auto& one : cases) {
    std::vector<std::string> arguments = {"lamp", "uv"};
    arguments.insert(arguments.end(), one.arguments.begin(), one.arguments.end());
    const Spoken spoken = Speak(arguments, {.strInterruptAt = one.strInterruptAt});
    EXPECT_EQ(spoken.code, one.code) << spoken.messages;
    const json row = spoken.Result()["rows"][0];
    EXPECT_EQ(row["lit"], one.bLit ? "yes" : "no") << one.end;
    EXPECT_NEAR(row["lit_s"].get<int>(), one.iSeconds, 3) << one.end;
    EXPECT_THAT(row["end"].get<std::string>(), HasSubstr(one.end));
    EXPECT_THAT(spoken.messages, HasSubstr(one.message));
  }
}

TEST(FlushCommand, TellsTheEndOfTheFlush) {
  const struct {
    std::vector<std::string> arguments;
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
      // Its keep-alives fill the answer.
      {{"zq410", "--pump-fault", "silence:2"}, "", ExitCode::InstrumentError, 204, "failed", 523},
      {{"zq420", "--pump-fault", "pumping:count=5:delay=3000"}, "", ExitCode::InstrumentError, 3, "failed", 616},
      {{"zq420", "--time", "60s"}, "flushing", ExitCode::Cancelled, 0, "stopped", nullptr},
      {{"zq410"}, "flushing", ExitCode::Cancelled, 5, "stopped", nullptr},
  };
  for (const auto& one : cases) {
    std::vector<std::string> arguments = {"flush", "--pump"};
    arguments.insert(arguments.end(), one.arguments.begin(), one.arguments.end());
    const Spoken spoken = Speak(arguments, {.strInterruptAt = one.strInterruptAt});
    EXPECT_EQ(spoken.code, one.code) << spoken.messages;
    const json row = spoken.Result()["rows"][0];
    EXPECT_NEAR(row["duration_s"].get<double>(), one.dSeconds, 0.5) << spoken.messages;
    EXPECT_EQ(row["end"], one.end) << spoken.messages;
    EXPECT_EQ(spoken.Result()["error"], one.error) << spoken.messages;
  }
}

TEST(PumpCommand, TellsWhatThePumpTellsAndSetsItsParameters) {
  const Spoken zq410 = Speak({"pump", "--pump", "zq410", "--pump-time", "4"});
  EXPECT_EQ(zq410.code, ExitCode::Success) << zq410.messages;
  EXPECT_EQ(zq410.Item("pump version"), "V01.07");
  EXPECT_EQ(zq410.Item("pump parameters acknowledged"), "yes");
  EXPECT_EQ(zq410.Item("pump time"), 4);
  const Spoken zq420 = Speak({"pump", "--pump", "zq420", "--step", "--pump-time", "9"});
  EXPECT_EQ(zq420.code, ExitCode::Success) << zq420.messages;
  EXPECT_EQ(zq420.Item("pump version"), "1.04");
  EXPECT_EQ(zq420.Item("pump data 1"), "A12");
  EXPECT_EQ(zq420.Item("pump running time"), "0:00:09") << "the cycle is in it";
  const Spoken set = Speak({"pump", "--pump", "zq410", "--set", "7,120", "--step"});
  EXPECT_EQ(set.code, ExitCode::Success) << set.messages;
  EXPECT_THAT(set.messages, HasSubstr("acknowledged pump time 7 s, second parameter 120"));
  EXPECT_THAT(set.messages, HasSubstr("sample settles"));
  const Spoken mute = Speak({"pump", "--pump", "zq410", "--set", "7,120", "--pump-fault", "silence:H"});
  EXPECT_EQ(mute.code, ExitCode::InstrumentError) << mute.messages;
  EXPECT_EQ(mute.Result()["error"], 542);
}

TEST(RunCommand, TellsARunThatEndsWithoutTellingHow) {
  for (const std::vector<std::string>& command :
       {std::vector<std::string>{"measure", "--wavelengths", "436"}, {"pump", "--step"}}) {
    std::vector<std::string> arguments = command;
    arguments.insert(arguments.end(), {"--pump", "zq410", "--pump-fault", "error:1"});
    const Spoken spoken = Speak(arguments);
    EXPECT_EQ(spoken.code, ExitCode::NoEnd) << spoken.messages;
    EXPECT_EQ(spoken.Result()["outcome"], "no end");
    EXPECT_EQ(spoken.Result()["error"], 514);
    EXPECT_THAT(spoken.messages, HasSubstr("|  [Measure] Pump(), iResult= 514\n"));
    EXPECT_THAT(spoken.messages, HasSubstr("error 514 (PumpZQ410)"));
  }
}

TEST(InfoCommand, TellsVersionsLampHoursAndStatus) {
  const Spoken sound = Speak({"info", "--pump", "zq410"});
  EXPECT_EQ(sound.code, ExitCode::Success) << sound.messages;
  EXPECT_EQ(sound.Item("library version"), "1.16.1");
  EXPECT_EQ(sound.Item("firmware"), sound.Result()["firmware"]);
  EXPECT_EQ(sound.Item("start-up"), "passed");
  EXPECT_EQ(sound.Item("cuvette"), "none");
  EXPECT_NEAR(sound.Item("halogen lamp hours").get<double>(), 412.5, 0.015) << "with the start-up";
  EXPECT_EQ(sound.Item("deuterium lamp hours"), 96.25);
  EXPECT_EQ(sound.Item("pump version"), "V01.07");
  const Spoken failed = Speak({"info", "--offset", "40"});
  EXPECT_EQ(failed.code, ExitCode::Success) << failed.messages;
  EXPECT_THAT(failed.Item("start-up").get<std::string>(), HasSubstr("failed: error -2"));
  EXPECT_EQ(failed.Item("pump"), "none");
}

TEST(AttendedCommands, JoinAKeptInstrument) {
  const TemporaryFolder folder;
  const std::string script = (folder.Path() / "script.txt").string();
  const auto contents = [&folder](const char* name) {
    std::ostringstream text;
    text << std::ifstream(folder.Path() / name).rdbuf();
    return Spoken{ExitCode::Success, text.str(), ""};
  };
  const auto write = [&](const std::string& extra) {
    std::ofstream(script) << "pump --set 7,120\nlamp uv on --session 3 --warm-up 20s\n"
                          << extra << "watch --for 20s --happens 5s:insert --happens 10s:key-a\ninfo --output "
                          << (folder.Path() / "info.json").string() << "\npump --output "
                          << (folder.Path() / "pump.json").string() << "\nlamp uv off\n";
  };
  write("external\n");
  EXPECT_EQ(Speak({"run", script, "--pump", "zq410"}, {}, false).code, ExitCode::BadInput) << "the port is the pump's";
  write("");
  const Spoken spoken = Speak({"run", script, "--pump", "zq410"}, {}, false);
  EXPECT_EQ(spoken.code, ExitCode::Success) << spoken.messages;
  EXPECT_THAT(spoken.results, testing::AllOf(HasSubstr("left on"), HasSubstr("cuvette inserted: 10 mm\n"),
                                             HasSubstr("key A of the pump\n"), HasSubstr("switched off")));
  EXPECT_EQ(contents("info.json").Item("deuterium lamp"), "on");
  EXPECT_EQ(contents("info.json").Item("cuvette"), "10 mm");
  EXPECT_EQ(contents("pump.json").Item("pump time"), 7) << "it holds from then on";
}

}  // namespace
}  // namespace host
