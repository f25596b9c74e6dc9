#include <sys/file.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "CommandLine.h"
#include "Duration.h"
#include "PseudoTerminal.h"
#include "Suggestion.h"
#include "WavelengthList.h"
#include "host/Spoken.h"
#include "support/TemporaryFolder.h"

namespace host {
namespace {

using testing::HasSubstr;

void ExpectRefused(const std::vector<std::string>& arguments, const std::vector<std::string>& parts) {
  const Spoken spoken = Speak(arguments);
  EXPECT_EQ(spoken.code, ExitCode::BadInput) << testing::PrintToString(arguments);
  EXPECT_EQ(spoken.results, "");
  for (const std::string& part : parts) {
    EXPECT_THAT(spoken.messages, HasSubstr(part));
  }
}

TEST(CommandLine, RefusesBadInputAndSaysWhatIsWrong) {
  const struct {
    std::vector<std::string> arguments;
    std::vector<std::string> parts;
  } cases[] = {
      {{}, {"photometer COMMAND", "measure"}},
      {{"mesure"}, {"there is no command \"mesure\"", "did you mean \"measure\"?"}},
      {{"measure", "--wavelenghts", "436"}, {"no option \"--wavelenghts\"", "did you mean \"--wavelengths\"?"}},
      {{"measure", "4\x1B[7mµ"}, {"\"4\\x1B[7mµ\" belongs to no option"}},
      {{"measure", "436"}, {"\"436\" belongs to no option"}},
      {{"measure", "--simulate"}, {"--wavelengths", "is missing"}},
      {{"measure", "--simulate", "--wavelengths"}, {"--wavelengths: has no value; write --wavelengths LIST"}},
      {{"measure", "--zeros", "436", "--zeros", "525"}, {"--zeros: is given 2 times; give it once"}},
      {{"measure", "--defect", "a", "--defect", "b", "--defect"}, {"--defect: has no value; write --defect "}},
      {{"measure", "--demo", "--board", "x"}, {"--demo", "leave out --board"}},
      {{"replay"}, {"trace: is missing; give FILE"}},
      {{"measure", "--simulate", "--wavelengths", "345;436"}, {"--wavelengths", "entry 1", "\"345;436\"", "commas"}},
      {{"measure", "--simulate", "--wavelengths", "345,,436"}, {"entry 2 (\"\")"}},
      {{"measure", "--simulate", "--wavelengths", "345,1100.1"}, {"entry 2 (1100.1 nm)", "190 to 1100 nm"}},
      {{"measure", "--simulate", "--no-uv", "--wavelengths", "329"}, {"entry 1 (329 nm)", "330 to 1100 nm"}},
      {{"measure", "--simulate", "--wavelengths", "436", "--zeros", "200"}, {"--zeros", "330 to 1100 nm"}},
      {{"measure", "--simulate", "--wavelengths", "436", "--readings", "0"}, {"--readings", "\"0\"", "from 1"}},
      {{"measure", "--simulate", "--wavelengths", "436", "--switching-point", "nan"}, {"\"nan\"", "from 330 to 350"}},
      {{"measure", "--simulate", "--wavelengths", "436", "--speed", "3"}, {"--speed", "max, 1 or 10"}},
      {{"measure", "--simulate", "--wavelengths", "436", "--sample", "tea"}, {"\"tea\" is no sample", "neutral:A"}},
      {{"measure", "--simulate", "--wavelengths", "436", "--format", "xml"}, {"--format", "xml"}},
      {{"measure", "--simulate", "--board", "x", "--wavelengths", "436"}, {"--simulate", "--board"}},
      {{"measure", "--board", "/nowhere/b.toml", "--wavelengths", "436"}, {"/nowhere/b.toml", "cannot be opened"}},
      {{"check", "--simulate"}, {"\"check\" is half a command", "check wavelength or check system"}},
      {{"check", "sytem"}, {"there is no command \"check sytem\"", "did you mean \"check system\"?"}},
      {{"scan", "--simulate", "--from", "900", "--to", "340"}, {"--from", "900 nm is not below --to 340 nm"}},
      {{"scan", "--simulate", "--no-uv", "--from", "300"}, {"--from", "300 nm", "330 to 1100 nm"}},
      {{"scan", "--simulate", "--no-uv", "--lamp", "deuterium"}, {"--lamp", "--no-uv"}},
      {{"scan", "--simulate", "--blank", "/nowhere/b.csv"}, {"--blank", "/nowhere/b.csv cannot be read"}},
      {{"scan", "--simulate", "--blank", "/tmp"}, {"--blank", "/tmp is no file"}},
      {{"scan", "--simulate", "--no-uv=99999999999999999999"}, {"--no-uv: takes no value", "leave out"}},
      {{"scan", "--simulate", "--turbidity=3"}, {"--turbidity: takes no value"}},
      {{"scan", "--simulate", "--output", "/tmp"}, {"--output", "/tmp is a folder"}},
      {{"scan", "--simulate", "--plot", "s.png"}, {"--plot", "s.png", "ends in .svg"}},
      {{"scan", "--simulate", "--defect", "rust"}, {"--defect", "\"rust\" is no defect", "weak-halogen"}},
      {{"kinetics", "--simulate", "--wavelength", "340", "--every", "10"}, {"--every", "\"10\"", "as 30s"}},
      {{"kinetics", "--simulate", "--wavelength", "340", "--for", "90s"}, {"--for", "\"90s\"", "whole minutes"}},
      {{"check", "wavelength", "--simulate", "--peaks", "361,1200"}, {"--peaks", "entry 2 (1200 nm)"}},
      {{"scan-holmium", "--simulate", "--first", "5000", "--last", "5000"}, {"--first", "5000 is not below"}},
      {{"watch", "--simulate"}, {"--for", "is missing", "--speed 1"}},
      {{"watch", "--simulate", "--for", "1min", "--happens", "insert"}, {"\"insert\" does not begin with a time"}},
      {{"watch", "--simulate", "--for", "1min", "--happens", "5s:fall"}, {"there is no \"fall\"", "unplug-pump"}},
      {{"watch", "--simulate", "--for", "1min", "--happens", "5s:key-a"}, {"\"key-a\" cannot happen", "--pump"}},
      {{"watch", "--for", "1min", "--happens", "5s:insert"}, {"--happens", "--simulate"}},
      {{"lamp", "on", "--simulate"}, {"there is no command \"lamp on\""}},
      {{"lamp", "uv", "--simulate"}, {"lamp uv", "add on or off"}},
      {{"lamp", "uv", "dim", "--simulate"}, {"\"dim\"", "say on or off"}},
      {{"lamp", "uv", "on", "--simulate", "--no-uv"}, {"--no-uv", "no such lamp"}},
      {{"lamp", "uv", "off", "--simulate", "--for", "1h"}, {"off", "--for"}},
      {{"lamp", "uv", "on", "--simulate", "--warm-up", "1min"}, {"--warm-up", "--session"}},
      {{"flush", "--simulate"}, {"--pump", "is missing", "zq410 or zq420"}},
      {{"info", "--simulate", "--pump", "zq430"}, {"--pump", "zq430"}},
      {{"info", "--simulate", "--pump-fault", "flood"}, {"--pump-fault", "no pump", "--pump zq410 or zq420"}},
      {{"info", "--simulate", "--pump", "zq420", "--pump-fault", "keep-alive-stops"}, {"of the other pump"}},
      {{"info", "--simulate", "--pump", "zq410", "--pump-fault", "flood:rate=5"}, {"\"rate=5\" cannot be used"}},
      {{"info", "--simulate", "--pump", "zq410", "--pump-fault", "no-trailer:s"}, {"no fault of a pump", "silence, "}},
      {{"info", "--simulate", "--pump", "zq410", "--pump-fault", "late:F:delay=5"},
       {"of the ZQ-410 has", "\"F\"", "H V"}},
      {{"info", "--simulate", "--pump", "zq410", "--pump-fault", "late:V"}, {"lacks its value", "add :delay=MS"}},
      {{"info", "--simulate", "--pump", "zq410", "--pump-fault", "error:V"}, {"\"error:V\"", "error:1 or error:2"}},
      {{"info", "--simulate", "--pump", "zq420", "--pump-fault", "error:e:count=3"}, {"give error:s:count=N"}},
      {{"info", "--simulate", "--pump", "zq420", "--pump-fault", "error:s"}, {"add :count=N"}},
      {{"info", "--simulate", "--pump", "zq420", "--pump-fault", "pumping:delay=3000"}, {"add :count=N"}},
      {{"flush", "--simulate", "--pump", "zq410", "--time", "5s"}, {"--time", "ZQ-410"}},
      {{"pump", "--simulate", "--pump", "zq410", "--set", "7"}, {"--set", "\"7\"", "as 7,120"}},
      {{"pump", "--simulate", "--pump", "zq410", "--set", "7,1000"}, {"--set", "from 0 to 999"}},
      {{"external", "--simulate", "--pump", "zq410"}, {"--pump", "zq410"}},
  };
  for (const auto& one : cases) {
    ExpectRefused(one.arguments, one.parts);
  }
}

TEST(CommandLine, RefusesBoardsThatCannotBeUsed) {
  const photometer::tests::TemporaryFolder folder;
  const serving::PseudoTerminal line;
  folder.MakeFolder("root");
  const std::string board = folder.At("board.toml");
  const auto write = [&folder](const std::string& text) { folder.Write("board.toml", text); };
  const auto refuse = [&board](const std::vector<std::string>& parts) {
    ExpectRefused({"measure", "--board", board, "--wavelengths", "436"}, parts);
  };

  write("root = \"root\"\nrot = \"x\"\n");
  refuse({board + ":2", "\"rot\""});
  write("root = \"root\"\n");
  refuse({board, "ports.COM2", "is missing"});
  write("root = \"root\"\n\n[ports]\nCOM2 = \"/dev/nothing-here\"\n");
  refuse({board + ":4", "ports.COM2", "/dev/nothing-here cannot be opened", "no such device"});

  write("root = \"root\"\n[ports]\nCOM2 = \"" + line.Path() + "\"\n");
  ExpectRefused({"external", "--board", board}, {board, "ports.COM1", "is missing", "the external port"});
  const int iOther = open(line.Path().c_str(), O_RDWR | O_NOCTTY);
  ASSERT_EQ(flock(iOther, LOCK_EX), 0);
  refuse({board + ":3", line.Path() + " cannot be opened", "in use by another program"});
  close(iOther);
}

TEST(CommandLine, TellsWhenWhatItShowsIsLost) {
  std::ofstream full("/dev/full");
  std::ostringstream messages;
  Interrupt interrupt;
  Console console{full, messages, false, interrupt};
  EXPECT_EQ(RunCommandLine({"explain", "132"}, console), ExitCode::OutputFailed);
  EXPECT_THAT(messages.str(), HasSubstr("is the disk full"));
}

TEST(CommandLine, TellsWhatAScriptLosesByTheLine) {
  const photometer::tests::TemporaryFolder folder;
  const struct {
    std::string script;
    ExitCode code;
  } cases[] = {
      {"help\n", ExitCode::OutputFailed},
      {"turbidity\n", ExitCode::OutputFailed},
      {"check wavelength --tolerance 0.1 --output " + folder.At("a.json") + "\nturbidity\n", ExitCode::CheckFailed}};
  for (const auto& one : cases) {
    folder.Write("s.txt", one.script);
    std::ofstream full("/dev/full");
    std::ostringstream messages;
    Interrupt interrupt;
    Console console{full, messages, false, interrupt};
    EXPECT_EQ(RunCommandLine({"run", folder.At("s.txt"), "--simulate", "--offset", "8", "--keep-going"}, console),
              one.code);
    const std::string text = messages.str();
    EXPECT_THAT(text, HasSubstr("is the disk full"));
    EXPECT_EQ(text.find("is the disk full"), text.rfind("is the disk full")) << text;
  }
}

TEST(CommandLine, HelpAndDocumentHoldTheExitCodes) {
  std::ifstream file(std::string(PHOTOMETER_SOURCE_FOLDER) + "/docs/exit-codes.md");
  std::ostringstream document;
  document << file.rdbuf();
  const Spoken general = Speak({"--help"});
  const Spoken command = Speak({"measure", "--help"});
  EXPECT_EQ(general.code, ExitCode::Success);
  EXPECT_EQ(command.code, ExitCode::Success);
  for (const ExitCodeEntry& entry : ExitCodes()) {
    const std::string meaning(entry.meaning);
    EXPECT_THAT(general.results, HasSubstr(meaning));
    EXPECT_THAT(command.results, HasSubstr(std::to_string(static_cast<int>(entry.code))));
    EXPECT_THAT(document.str(), HasSubstr("| " + std::to_string(static_cast<int>(entry.code)) + " | " +
                                          std::string(entry.name) + " | " + meaning + " |"));
  }
}

TEST(WavelengthList, TakesWhatPeopleWrite) {
  EXPECT_EQ(std::get<std::vector<double>>(ParseWavelengths("345, 436.5 ,1e3")),
            (std::vector<double>{345, 436.5, 1000}));
  EXPECT_EQ(ComplainOutOfRange({330, 1100}, 330, 1100), "");
}

TEST(Duration, TakesUnitsAndRefusesTheRest) {
  for (const auto& [text, dwSeconds] : {std::pair("10s", 10U), {"5min", 300U}, {"0s", 0U}, {"168h", 604800U}}) {
    EXPECT_EQ(ParseDuration(text), dwSeconds) << text;
  }
  for (const char* text : {"169h", "", "10", "-1s", "1.5h", "5 min", "99999999999s"}) {
    EXPECT_FALSE(ParseDuration(text)) << text;
  }
}

TEST(Suggestion, FindsNearWordsOnly) {
  const Words names = {"--readings", "--seed", "--speed"};
  EXPECT_EQ(Nearest("--raedings", names), "--readings");
  EXPECT_EQ(Nearest("--spede", names), "--speed");
  EXPECT_EQ(Nearest("--colour", names), "");
}

}  // namespace
}  // namespace host
