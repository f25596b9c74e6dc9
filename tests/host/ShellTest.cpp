// Shell and script as the program runs them, on pipes and on a terminal.
#include <fcntl.h>
#include <pty.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "ShellLine.h"
#include "host/ChildProcess.h"
#include "host/Spoken.h"
#include "host/TemporaryFolder.h"

namespace host {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

const std::string Program = std::string(PHOTOMETER_PROGRAM_FOLDER) + "/photometer";

TEST(Shell, ReadsPlainLinesAndSurvivesFailures) {
  ChildProcess shell({Program, "shell", "--simulate", "--zeros", "525"});
  shell.Write(
      "measure --wavelengths 525 --sample neutral:0.5 # once\n"
      "mesure\n"
      "measure --wavelengths \"525\n"
      "measure --wavelengths 525 --seed 2\n"
      "board check\n"
      "help measure\n"
      "start-up now\n"
      "start-up\n"
      "measure --wavelengths 525 --sample blank\n"
      "quit\n"
      "measure --wavelengths 525\n");
  const std::string results = shell.ReadOutputUntil("");
  const std::string messages = shell.ReadErrorUntil("");
  EXPECT_EQ(shell.Wait(), 0);
  for (const char* part : {" 0.499", "--wait-for-cuvette", " 0.000"}) {
    EXPECT_THAT(results, HasSubstr(part));
  }
  for (const char* part : {"did you mean \"measure\"?", "has no end", "\"--seed\" counts from the start on",
                           "call \"photometer board check\"", "\"start-up\" takes nothing"}) {
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

/// The program on a terminal of its own.
class Terminal {
 public:
  Terminal(const std::vector<const char*>& arguments, const std::string& stateFolder) {
    winsize size{24, 120, 0, 0};
    m_pid = forkpty(&m_iTerminal, nullptr, nullptr, &size);
    if (m_pid == 0) {
      setenv("XDG_STATE_HOME", stateFolder.c_str(), 1);
      setenv("TERM", "xterm", 1);
      std::vector<char*> words = {const_cast<char*>(Program.c_str())};
      for (const char* argument : arguments) {
        words.push_back(const_cast<char*>(argument));
      }
      words.push_back(nullptr);
      execv(words[0], words.data());
      _exit(127);
    }
  }
  ~Terminal() {
    if (m_pid > 0) {
      kill(m_pid, SIGKILL);
      Wait();
    }
    close(m_iTerminal);
  }
  Terminal(const Terminal&) = delete;
  Terminal& operator=(const Terminal&) = delete;

  void Type(const std::string& keys) const {
    ASSERT_EQ(write(m_iTerminal, keys.data(), keys.size()), static_cast<ssize_t>(keys.size()));
  }
  /// Until the text has come, or the program has ended.
  std::string ReadUntil(const std::string& text) const {
    std::string all;
    char character = 0;
    while ((text.empty() || all.find(text) == std::string::npos) && read(m_iTerminal, &character, 1) == 1) {
      all += character;
    }
    return all;
  }
  int Wait() {
    int iStatus = 0;
    waitpid(m_pid, &iStatus, 0);
    m_pid = -1;
    return WIFEXITED(iStatus) ? WEXITSTATUS(iStatus) : -WTERMSIG(iStatus);
  }

 private:
  pid_t m_pid = -1;
  int m_iTerminal = -1;
};

TEST(Shell, CompletesRemembersAndCancelsOnATerminal) {
  const TemporaryFolder folder;
  Terminal terminal({"shell", "--simulate", "--zeros", "525"}, folder.Path());
  terminal.ReadUntil("photometer> ");
  // Completed, then dropped by Ctrl-C.
  terminal.Type("turb\t");
  terminal.ReadUntil("idity ");
  terminal.Type("\x03");
  terminal.ReadUntil("^C");
  terminal.ReadUntil("photometer> ");
  // Cancelled while it runs; the shell goes on, and the line comes back from the history.
  terminal.Type("kinetics --wavelength 525 --every 1s --for 168h\n");
  terminal.ReadUntil("left");
  terminal.Type("\x03");
  EXPECT_THAT(terminal.ReadUntil("photometer> "), HasSubstr("series cancelled"));
  terminal.Type("\x10");
  terminal.ReadUntil("kinetics --wavelength 525 --every 1s --for 168h");
  terminal.Type("\x15\x04");
  terminal.ReadUntil("");
  EXPECT_EQ(terminal.Wait(), 0);
  std::ostringstream history;
  history << std::ifstream(folder.Path() / "photometer" / "history").rdbuf();
  EXPECT_THAT(history.str(), testing::AllOf(HasSubstr("kinetics"), Not(HasSubstr("turbidity"))));
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
Spoken RunScript(const std::string& script, const std::vector<std::string>& more = {}) {
  const TemporaryFolder folder;
  const std::filesystem::path before = std::filesystem::current_path();
  std::filesystem::current_path(folder.Path());
  std::ofstream("s.txt") << script;
  std::vector<std::string> arguments = {"run", "s.txt", "--simulate"};
  arguments.insert(arguments.end(), more.begin(), more.end());
  const Spoken spoken = Speak(arguments);
  std::filesystem::current_path(before);
  return spoken;
}

TEST(Script, RunsOnOneStartUpAndTakesBlanksOfItsOwn) {
  const Spoken spoken = RunScript(
      "# solvent, then the sample\n\n"
      "scan --from 400 --to 420 --sample blank --output solvent.csv\n"
      "scan --from 400 --to 420 --sample neutral:0.5 --blank solvent.csv --label 'batch 7' --format csv\n"
      "scan --from 430 --to 440 --sample neutral:0.5 --format csv\n"
      "quit\nturbidity\n");
  EXPECT_EQ(spoken.code, ExitCode::Success) << spoken.messages;
  EXPECT_THAT(spoken.results,
              testing::AllOf(HasSubstr("# sample: batch 7"), HasSubstr("# reference: blank solvent.csv")));
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
