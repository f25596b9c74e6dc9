// Shell and script as the program runs them, on pipes and on a terminal.
#include <signal.h>
#include <stdlib.h>

#include <filesystem>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ShellLine.h"
#include "host/ChildProcess.h"
#include "host/Spoken.h"
#include "support/TemporaryFolder.h"

namespace host {
namespace {

using photometer::tests::TemporaryFolder;
using testing::ContainsRegex;
using testing::HasSubstr;
using testing::Not;

const std::string Program = std::string(PHOTOMETER_PROGRAM_FOLDER) + "/photometer";

TEST(Shell, ReadsPlainLinesAndSurvivesFailures) {
  ChildProcess shell({Program, "shell", "--simulate"});
  shell.Write(
      "measure --wavelengths 525 --sample neutral:0.5 # once\n"
      "external\n"
      "mesure\n"
      "scan\x1B[2J\n"
      "measure --wavelengths \"525\n"
      "measure --wavelengths 525 --seed 2\n"
      "board check\n"
      "help measure\n"
      "start-up now\n"
      "scan --from 451 --to 452\n"
      "start-up\n"
      "measure --wavelengths 451 --sample neutral:0.3\n"
      "quit\n"
      "measure --wavelengths 525\n");
  const std::string results = shell.ReadOutputUntil("");
  const std::string messages = shell.ReadErrorUntil("");
  EXPECT_EQ(shell.Wait(), 0);
  // What a command lacked is measured by the next start-up.
  EXPECT_THAT(results, ContainsRegex(" 0\\.(499|500).*--wait-for-cuvette.*spread\n  451.00 .* 0\\.(299|300)"));
  for (const char* part :
       {"standard input has the commands", "did you mean \"measure\"?", "\"scan\\x1B[2J\"", "has no end",
        "\"--seed\" counts from the start on", "call \"photometer board check\"", "\"start-up\" takes nothing"}) {
    EXPECT_THAT(messages, HasSubstr(part));
  }
  EXPECT_THAT(messages, Not(HasSubstr("photometer>")));
}

TEST(Shell, EndsBySignalAndShutsTheInstrumentDown) {
  ChildProcess shell({Program, "shell", "--simulate", "--zeros", "525"});
  shell.Write("turbidity\n");
  shell.ReadOutputUntil("low");
  shell.Signal(SIGTERM);
  EXPECT_THAT(shell.ReadErrorUntil(""), Not(HasSubstr("internal fault")));
  EXPECT_EQ(shell.Wait(), 12);
}

TEST(Shell, CompletesRemembersAndCancelsOnATerminal) {
  const TemporaryFolder folder;
  setenv("XDG_STATE_HOME", folder.Path().c_str(), 1);
  setenv("TERM", "xterm", 1);
  ChildProcess terminal({Program, "shell", "--simulate", "--zeros", "525"}, ChildProcess::Streams::Terminal);
  terminal.ReadOutputUntil("photometer> ");
  // Completed, then dropped by Ctrl-C.
  terminal.Write("turb\t");
  terminal.ReadOutputUntil("idity ");
  terminal.Write("\x03");
  terminal.ReadOutputUntil("^C");
  terminal.ReadOutputUntil("photometer> ");
  // Cancelled while it runs; the shell goes on, and the line comes back from the history.
  terminal.Write("kinetics --wavelength 525 --every 1s --for 168h\n");
  terminal.ReadOutputUntil("left");
  terminal.Write("\x03");
  EXPECT_THAT(terminal.ReadOutputUntil("photometer> "), HasSubstr("series cancelled"));
  terminal.Write("\x10");
  terminal.ReadOutputUntil("kinetics --wavelength 525 --every 1s --for 168h");
  terminal.Write("\x15\x04");
  terminal.ReadOutputUntil("");
  EXPECT_EQ(terminal.Wait(), 0);
  EXPECT_THAT(folder.Read("photometer/history"), testing::AllOf(HasSubstr("kinetics"), Not(HasSubstr("turbidity"))));
}

TEST(Shell, CompletesCommandsOptionsAndValues) {
  Workplace workplace(BoardOptions{}, InstrumentOptions{});
  const struct {
    const char* text;
    std::vector<std::string> words;
  } cases[] = {{"st", {"start-up"}},
               {"check ", {"system", "wavelength"}},
               {"help sca", {"scan", "scan-holmium"}},
               {"scan --la", {"--label", "--lamp"}},
               {"scan --lamp ", {"auto", "deuterium", "halogen"}},
               {"scan --simu", {}},
               {"scan --label \"--", {}},
               {"shel", {}}};
  for (const auto& one : cases) {
    EXPECT_EQ(CompleteLine(one.text, workplace), one.words) << one.text;
  }
}

/// Runs the script in a folder of its own.
Spoken RunScript(const std::string& script, const Words& more = {}) {
  const TemporaryFolder folder;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.Path());
  folder.Write("s.txt", script);
  Spoken spoken = Simulate(Joined({"run", "s.txt"}, more));
  std::filesystem::current_path(before);
  return spoken;
}

TEST(Script, RunsOnOneStartUpAndTakesBlanksOfItsOwn) {
  // The holder is emptied for the self-tests; the cuvette of the run before does not disturb them.
  const Spoken spoken = RunScript(
      "# solvent, then the sample\n\n"
      "scan --from 400 --to 420 --sample blank --output solvent.csv\n"
      "scan --from 400 --to 420 --sample neutral:0.5 --blank solvent.csv --label 'batch 7' --format csv\n"
      "check system\ntest wavelength\n"
      "scan --from 430 --to 440 --sample neutral:0.5 --format csv\n"
      "quit\nturbidity\n",
      {"--stray-light", "0"});
  EXPECT_EQ(spoken.code, ExitCode::Success) << spoken.messages;
  EXPECT_THAT(
      spoken.results,
      testing::AllOf(HasSubstr("# sample: batch 7"), HasSubstr("# reference: blank solvent.csv"),
                     ContainsRegex("\n43[0-9.]*,[0-9]*,[0-9.]*,[0-9.]*,0\\.(499|500)"), HasSubstr("detectors")));
  // The last scan has its zero values from the one start-up too.
  EXPECT_EQ(spoken.results.find(",,"), std::string::npos) << spoken.results;
  EXPECT_EQ(spoken.messages.find("start-up\n"), spoken.messages.rfind("start-up\n"));
}

TEST(Script, IsCheckedWholeBeforeAnythingStarts) {
  const Spoken spoken =
      RunScript("measure --wavelengths 436\nmeasure --wavelengths 43600\nmeasure --wavelengths '436\n");
  EXPECT_EQ(spoken.code, ExitCode::BadInput);
  EXPECT_THAT(spoken.messages, HasSubstr("s.txt:3: a quote ' has no end"));

  const Spoken other = RunScript(
      "turbidity --output t.csv\nmeasure --wavelengths 43600\nturbidity --output t.csv\n  scna\nturbidity --sed 4\n"
      "measure --wavelengths 436 --blank u.csv\nturbidity --board b.toml\n");
  EXPECT_EQ(other.code, ExitCode::BadInput);
  for (const char* part :
       {"s.txt:2: --wavelengths: entry 1 (43600 nm)", "s.txt:3: --output: line 1 writes t.csv too",
        "s.txt:4: there is no command \"scna\"; did you mean \"scan\"?", "s.txt:5: there is no option \"--sed\"",
        "s.txt:6: --blank: u.csv", "s.txt:7: \"--board\" counts from the start on", "Nothing was started"}) {
    EXPECT_THAT(other.messages, HasSubstr(part));
  }
  EXPECT_THAT(other.messages, Not(HasSubstr("start-up")));
}

TEST(Script, StopsAtTheFirstFailureUnlessToldOtherwise) {
  const std::string script = "check wavelength --tolerance 0.1\nturbidity\n";
  const Spoken stopped = RunScript(script, {"--offset", "8"});
  EXPECT_EQ(stopped.code, ExitCode::CheckFailed) << stopped.messages;
  EXPECT_THAT(stopped.messages, HasSubstr("s.txt:1: exit code 17, check failed"));
  EXPECT_THAT(stopped.results, Not(HasSubstr("turbidity")));
  const Spoken kept = RunScript(script, {"--offset", "8", "--keep-going"});
  EXPECT_EQ(kept.code, ExitCode::CheckFailed);
  EXPECT_THAT(kept.results, HasSubstr("turbidity"));
  const Spoken failed = RunScript("turbidity\ntest wavelength\n", {"--offset", "40", "--keep-going"});
  EXPECT_EQ(failed.code, ExitCode::StartUpFailed);
  EXPECT_THAT(failed.messages, HasSubstr("s.txt:2: exit code 17"));
}

}  // namespace
}  // namespace host
