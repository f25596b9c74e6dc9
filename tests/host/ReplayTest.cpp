#include <signal.h>

#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Trace.h"
#include "TraceComparison.h"
#include "TraceHead.h"
#include "host/ChildProcess.h"
#include "host/Spoken.h"
#include "support/TemporaryFolder.h"

namespace host {
namespace {

using photometer::tests::TemporaryFolder;
using ::testing::HasSubstr;
using ::testing::StartsWith;

const std::string Program = std::string(PHOTOMETER_PROGRAM_FOLDER) + "/photometer";

std::string Replaced(std::string text, const std::string& from, const std::string& to) {
  const std::size_t nAt = text.find(from);
  EXPECT_NE(nAt, std::string::npos) << from;
  return nAt == std::string::npos ? text : text.replace(nAt, from.size(), to);
}

/// Lines without a time, each as a line of a trace at 1 ms.
Trace TraceOf(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& line : lines) {
    text += "1.000\t" + line + "\n";
  }
  return std::get<Trace>(Trace::Read(text));
}

TEST(Trace, AWrongLineIsNamed) {
  constexpr struct {
    std::string_view text;
    const char* complaint;
  } Cases[] = {
      {"", "1: the file is empty"},
      {"0.000\tsink\ta\n0.000\tsi", "2: the line is cut off"},
      {"0.000 sink a\n", "1: \"0.000 sink a\" is not"},
      {"-1.000\tsink\ta\n", "1: the time"},
      {"2678400001.000\tsink\ta\n", "1: the time"},
      {"0.000\tCOM12>\ta\n", "1: there is no channel \"COM12>\""},
      {"0.000\tsink\t\\x0\n", "1: the text has a byte"},
  };
  for (const auto& [text, complaint] : Cases) {
    const auto read = Trace::Read(text);
    ASSERT_TRUE(std::holds_alternative<std::string>(read)) << text;
    EXPECT_THAT(std::get<std::string>(read), StartsWith(complaint));
  }
}

TEST(TraceComparison, FindsTheFirstDifferenceAndPassesOverJitter) {
  const std::vector<std::string> lines = {"COM2>\t$a", "sink\tOnNotify 1 2 3", "sink\tOnCuvetteChanged 10",
                                          "log\t24.11.2026 14:25:20 |  [Timer] a", "host\tend 0"};
  const auto with = [&lines](std::size_t i, const std::string& line) {
    std::vector<std::string> changed = lines;
    changed[i] = line;
    return changed;
  };
  const struct {
    const char* what;
    std::vector<std::string> replay;
    std::optional<std::size_t> line;
  } cases[] = {
      {"the same", lines, std::nullopt},
      {"another thread's callback first", {lines[0], lines[2], lines[1], lines[3], lines[4]}, std::nullopt},
      {"another time stamp", with(3, "log\t01.01.2030 00:00:00 |  [Timer] a"), std::nullopt},
      {"other blocks read", {lines[0], "COM2<\tx", lines[1], lines[2], lines[3], lines[4]}, std::nullopt},
      {"other bytes sent", with(0, "COM2>\t$b"), 1},
      {"another value told", with(1, "sink\tOnNotify 1 2 4"), 2},
      {"another log line", with(3, "log\t24.11.2026 14:25:20 |  [Timer] b"), 4},
      {"another exit code", with(4, "host\tend 11"), 5},
      {"a line less", {lines[0], lines[1], lines[3], lines[4]}, 3},
      {"a line more", {lines[0], lines[0], lines[1], lines[2], lines[3], lines[4]}, 0},
  };
  for (const auto& one : cases) {
    const auto difference = Compare(TraceOf(lines), TraceOf(one.replay), Comparison::Order);
    EXPECT_EQ(difference ? std::optional(difference->nLine) : std::nullopt, one.line) << one.what;
  }
  const auto swapped = TraceOf({lines[0], lines[2], lines[1], lines[3], lines[4]});
  EXPECT_EQ(Compare(TraceOf(lines), swapped, Comparison::Times)->nLine, 2U);
  // A trace that ends early says nothing of what comes later.
  EXPECT_FALSE(Compare(TraceOf({lines[0]}), TraceOf(lines), Comparison::Order));
}

/// A simulated run is the same again to the microsecond, without the simulated instrument.
TEST(Replay, SimulatedRunsRepeat) {
  const Words calls[] = {
      {"measure", "--wavelengths", "260,525", "--zeros", "525"},
      {"measure", "--demo"},
      {"scan", "--from", "500", "--to", "520"},
      {"kinetics", "--wavelength", "525", "--every", "20s", "--for", "1min"},
      {"check", "wavelength"},
      {"check", "system"},
      {"test", "wavelength"},
      {"flush", "--pump", "zq420", "--time", "3s"},
      {"measure", "--wavelengths", "525", "--pump", "zq410", "--pump-time", "3"},
      {"measure", "--wavelengths", "525", "--pump", "zq420", "--pump-fault", "error:s:count=2"},
      {"info", "--pump", "zq410"},
      {"lamp", "uv", "off"},
      {"watch", "--for", "30s", "--happens", "5s:insert"},
  };
  for (const Words& words : calls) {
    SCOPED_TRACE(testing::PrintToString(words));
    const TemporaryFolder folder;
    const Spoken recorded = Simulate(Joined(words, {"--trace", folder.At("run.trace")}));
    ASSERT_EQ(folder.Entries("."), Words{"run.trace"}) << recorded.messages;
    const Spoken replayed = Speak({"replay", folder.At("run.trace"), "--times"});
    EXPECT_EQ(replayed.code, ExitCode::Success) << replayed.results << replayed.messages;
  }
}

/// What was typed, and what a script said, is in the trace, and the blanks that it read.
TEST(Replay, SessionsRepeat) {
  const TemporaryFolder folder;
  folder.Write("script.txt", "measure --wavelengths 436,525 --label 'it'\\''s' --output " + folder.At("blank.csv") +
                                 "\nmeasure --wavelengths 436,525 --sample neutral:0.5 --blank " +
                                 folder.At("blank.csv") + "\nmeasure --help\nsettings init " + folder.At("new.cfg") +
                                 "\nstart-up\nmeasure --wavelengths 700 --blank " + folder.At("blank.csv") +
                                 "\nexternal\nquit\nscan --from 600 --to 610\n");
  ASSERT_EQ(Simulate({"run", folder.At("script.txt"), "--keep-going", "--trace", folder.At("run.trace")}).code,
            ExitCode::BadInput);
  ASSERT_EQ(
      Simulate({"external", "--linger", "2s", "--trace", folder.At("external.trace")}, {.typed = {"a\nb", "\x01"}})
          .code,
      ExitCode::Success);
  ChildProcess shell({Program, "shell", "--simulate", "--trace", folder.At("shell.trace")});
  shell.Write("turbidity\nmesure\nmeasure --wavelengths 436,525 --blank " + folder.At("blank.csv") + "\nquit\n");
  shell.ReadOutputUntil("");
  ASSERT_EQ(shell.Wait(), 0);
  ChildProcess ended({Program, "shell", "--simulate", "--trace", folder.At("ended.trace")});
  ended.Write("turbidity\n");
  ended.ReadOutputUntil("low");
  ended.Signal(SIGTERM);
  ASSERT_EQ(ended.Wait(), 12);
  std::filesystem::remove(folder.At("new.cfg"));
  std::filesystem::remove(folder.At("script.txt"));
  std::filesystem::remove(folder.At("blank.csv"));
  for (const char* name : {"run", "external", "shell", "ended"}) {
    const Spoken replayed = Speak({"replay", folder.At(name + std::string(".trace")), "--times"});
    EXPECT_EQ(replayed.code, ExitCode::Success) << replayed.results << replayed.messages;
  }
  EXPECT_FALSE(std::filesystem::exists(folder.At("new.cfg")));
  const std::string text = folder.Read("run.trace");
  const struct {
    const char* line;
    ExitCode code;
  } cases[] = {{"turbidity", ExitCode::TraceDiffers},
               {"turbidity --output=o.csv", ExitCode::BadInput},
               {"measure --blank o.csv", ExitCode::BadInput},
               {"settings init o.cfg", ExitCode::BadInput},
               {"run o.txt", ExitCode::BadInput},
               {"\\x1B[2J", ExitCode::BadInput},
               {"", ExitCode::BadInput}};
  for (const auto& one : cases) {
    folder.Write("run.trace", Replaced(text, "line start-up", std::string("line ") + one.line));
    const Spoken replayed = Speak({"replay", folder.At("run.trace")});
    EXPECT_EQ(replayed.code, one.code) << one.line << "\n" << replayed.results << replayed.messages;
    EXPECT_EQ(replayed.messages.find('\x1B'), std::string::npos);
  }
}

/// Ended by a person before the cuvette holder was looked at.
TEST(Replay, ARunThatEndedEarlyRepeats) {
  const TemporaryFolder folder;
  const std::string head = "0.000\thost\t";
  std::string text;
  for (const char* line : {"trace 1", "library 1.16.1", "board real", "time 2026-11-25 02:31:06.102", "tick 1929898",
                           "port COM2", "registry HalLamp 50", "registry UVLamp 0", "command turbidity"}) {
    text += head + line + "\n";
  }
  text += "5.800\tpin\tout 0/9 = 1\n13.600\tCOM2>\t$v\\x0D\n500.000\thost\tinterrupt\n";
  folder.Write("run.trace.part", text);
  const Spoken spoken = Speak({"replay", folder.At("run.trace.part")});
  EXPECT_THAT(spoken.results, HasSubstr("the trace ends here, before the run")) << spoken.messages;
}

TEST(Replay, TellsWhereTheRunLeavesItsTrace) {
  const TemporaryFolder folder;
  const std::string path = folder.At("run.trace");
  const std::string settings = folder.At("settings.cfg");
  ASSERT_EQ(Speak({"settings", "init", settings}).code, ExitCode::Success);
  ASSERT_EQ(Simulate({"measure", "--wavelengths", "525", "--settings", settings, "--trace", path}).code,
            ExitCode::Success);
  std::filesystem::remove(settings);
  const std::string text = folder.Read("run.trace");
  const struct {
    const char* what;
    std::string text;
    ExitCode code;
    const char* said;
  } cases[] = {
      {"itself, without its files", text, ExitCode::Success, "the same"},
      {"another command", Replaced(text, "$r1\\x0D", "$r7\\x0D"), ExitCode::TraceDiffers, "$r7\\x0D"},
      {"another answer", Replaced(text, "KESTRA-UV 2.14", "KESTRA-UV 2.15"), ExitCode::TraceDiffers, "2.15"},
      {"another end", Replaced(text, "host\tend 0", "host\tend 11"), ExitCode::TraceDiffers, "end 11"},
      {"half of it", text.substr(0, text.find('\n', text.size() / 2) + 1), ExitCode::TraceDiffers, "ends here"},
      {"no head", text.substr(text.find('\n') + 1), ExitCode::BadInput, "run.trace:1: the trace does not begin"},
      {"another form", Replaced(text, "trace 1", "trace 2"), ExitCode::BadInput, "run.trace:1: \"trace 2\" cannot"},
      {"a file's name", Replaced(text, "option --wavelengths", "option --output"), ExitCode::BadInput, "--output"},
      {"no option", Replaced(text, "option --wavelengths", "option --wavelengthz"), ExitCode::BadInput, "wavelengthz"},
      {"no run", Replaced(text, "command measure", "command explain"), ExitCode::BadInput, "cannot be replayed"},
      {"too late", text + "2592000001.000\thost\tend 0\n", ExitCode::BadInput, "beyond 30 days"},
      {"cut off", text.substr(0, text.size() - 1), ExitCode::BadInput, "the line is cut off"},
  };
  for (const auto& one : cases) {
    folder.Write("run.trace", one.text);
    const Spoken spoken = Speak({"replay", path});
    EXPECT_EQ(spoken.code, one.code) << one.what << "\n" << spoken.results << spoken.messages;
    EXPECT_THAT(spoken.results + spoken.messages, HasSubstr(one.said)) << one.what;
  }
}

}  // namespace
}  // namespace host
