#include <sys/file.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Duration.h"
#include "PseudoTerminal.h"
#include "Suggestion.h"
#include "WavelengthList.h"
#include "host/Spoken.h"
#include "host/TemporaryFolder.h"

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
      {{"measure", "--simulate", "--raedings=3"}, {"no option \"--raedings\"", "\"--readings\"?"}},
      {{"measure", "436"}, {"\"436\" belongs to no option"}},
      {{"measure", "--simulate"}, {"--wavelengths", "is missing"}},
      {{"measure", "--simulate", "--wavelengths"}, {"--wavelengths"}},
      {{"measure", "--simulate", "--wavelengths", "345;436"}, {"--wavelengths", "entry 1", "\"345;436\"", "commas"}},
      {{"measure", "--simulate", "--wavelengths", "345,,436"}, {"entry 2 (\"\")"}},
      {{"measure", "--simulate", "--wavelengths", "345,nan"}, {"entry 2 (\"nan\") is not a number"}},
      {{"measure", "--simulate", "--wavelengths", "1e999"}, {"entry 1", "not a number"}},
      {{"measure", "--simulate", "--wavelengths", "345,1100.1"}, {"entry 2 (1100.1 nm)", "190 to 1100 nm"}},
      {{"measure", "--simulate", "--no-uv", "--wavelengths", "329"}, {"entry 1 (329 nm)", "330 to 1100 nm"}},
      {{"measure", "--simulate", "--wavelengths", "436", "--zeros", "200"}, {"--zeros", "330 to 1100 nm"}},
      {{"measure", "--simulate", "--wavelengths", "436", "--readings", "0"}, {"--readings", "\"0\"", "from 1"}},
      {{"measure", "--simulate", "--wavelengths", "436", "--readings", "3x"}, {"--readings", "\"3x\""}},
      {{"measure", "--simulate", "--wavelengths", "436", "--switching-point", "nan"}, {"\"nan\"", "from 330 to 350"}},
      {{"measure", "--simulate", "--wavelengths", "436", "--speed", "3"}, {"--speed", "max, 1 or 10"}},
      {{"measure", "--simulate", "--wavelengths", "436", "--sample", "tea"}, {"\"tea\" is no sample", "neutral:A"}},
      {{"measure", "--simulate", "--wavelengths", "436", "--format", "xml"}, {"--format", "xml"}},
      {{"measure", "--simulate", "--board", "x", "--wavelengths", "436"}, {"--simulate", "--board"}},
      {{"measure", "--simulate", "--wavelengths", "436", "--trace", "/nowhere/t"}, {"--trace", "/nowhere/t"}},
      {{"measure", "--board", "/nowhere/b.toml", "--wavelengths", "436"}, {"/nowhere/b.toml", "cannot be opened"}},
      {{"check", "--simulate"}, {"\"check\" is half a command", "check wavelength or check system"}},
      {{"check", "sytem"}, {"there is no command \"check sytem\"", "did you mean \"check system\"?"}},
      {{"scan", "--simulate", "--from", "900", "--to", "340"}, {"--from", "900 nm is not below --to 340 nm"}},
      {{"scan", "--simulate", "--no-uv", "--from", "300"}, {"--from", "300 nm", "330 to 1100 nm"}},
      {{"scan", "--simulate", "--no-uv", "--lamp", "deuterium"}, {"--lamp", "--no-uv"}},
      {{"scan", "--simulate", "--step", "0.5"}, {"--step", "0.5"}},
      {{"scan", "--simulate", "--blank", "/nowhere/b.csv"}, {"--blank", "/nowhere/b.csv cannot be read"}},
      {{"scan", "--simulate", "--output", "/nowhere/s.csv"}, {"--output", "/nowhere/s.csv cannot be written"}},
      {{"scan", "--simulate", "--output", "/tmp"}, {"--output", "/tmp is a folder"}},
      {{"scan", "--simulate", "--plot", "s.png"}, {"--plot", "s.png", "ends in .svg"}},
      {{"scan", "--simulate", "--defect", "rust"}, {"--defect", "\"rust\" is no defect", "weak-halogen"}},
      {{"kinetics", "--simulate"}, {"--wavelength", "is missing"}},
      {{"kinetics", "--simulate", "--wavelength", "340", "--every", "10"}, {"--every", "\"10\"", "as 30s"}},
      {{"kinetics", "--simulate", "--wavelength", "340", "--for", "90s"}, {"--for", "\"90s\"", "whole minutes"}},
      {{"kinetics", "--simulate", "--wavelength", "1100.5"}, {"--wavelength", "\"1100.5\""}},
      {{"turbidity", "--simulate", "--sample", "turbid:-1"}, {"\"turbid:-1\" is no sample", "turbid:NTU"}},
      {{"check", "wavelength", "--simulate", "--peaks", "361,1200"}, {"--peaks", "entry 2 (1200 nm)"}},
      {{"check", "system", "--simulate", "--peak", "nan"}, {"--peak", "\"nan\""}},
      {{"scan-holmium", "--simulate", "--first", "5000", "--last", "5000"}, {"--first", "5000 is not below"}},
      {{"scan-holmium", "--simulate", "--last", "15001"}, {"--last", "15001", "to 15000"}},
      {{"watch", "--simulate"}, {"--for", "is missing", "--speed 1"}},
      {{"watch", "--simulate", "--for", "90"}, {"--for", "\"90\"", "as 30s"}},
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
      {{"lamp", "uv", "on", "--simulate", "--session", "-1"}, {"--session", "\"-1\""}},
      {{"flush", "--simulate"}, {"--pump", "is missing", "zq410 or zq420"}},
      {{"flush", "--simulate", "--pump", "zq410", "--time", "5s"}, {"--time", "ZQ-410"}},
      {{"pump", "--simulate", "--pump", "zq410", "--set", "7"}, {"--set", "\"7\"", "as 7,120"}},
      {{"pump", "--simulate", "--pump", "zq410", "--set", "7,1000"}, {"--set", "from 0 to 999"}},
      {{"external", "--simulate", "--pump", "zq410"}, {"--pump", "zq410"}},
      {{"external", "--simulate", "--baud-rate", "299"}, {"--baud-rate", "\"299\"", "from 300"}},
  };
  for (const auto& one : cases) {
    ExpectRefused(one.arguments, one.parts);
  }
}

TEST(CommandLine, RefusesBoardsThatCannotBeUsed) {
  const TemporaryFolder folder;
  const serving::PseudoTerminal line;
  std::filesystem::create_directory(folder.Path() / "root");
  const std::string board = (folder.Path() / "board.toml").string();
  const auto write = [&board](const std::string& text) { std::ofstream(board) << text; };
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
  const auto parsed = ParseWavelengths("345, 436.5 ,1e3");
  ASSERT_TRUE(std::holds_alternative<std::vector<double>>(parsed));
  EXPECT_EQ(std::get<std::vector<double>>(parsed), (std::vector<double>{345, 436.5, 1000}));
  EXPECT_EQ(ComplainOutOfRange({330, 1100}, 330, 1100), "");
}

TEST(Duration, TakesUnitsAndRefusesTheRest) {
  const struct {
    const char* text;
    std::optional<photometer::DWORD> seconds;
  } cases[] = {{"10s", 10},
               {"5min", 300},
               {"2h", 7200},
               {"0s", 0},
               {"168h", 604800},
               {"169h", std::nullopt},
               {"", std::nullopt},
               {"10", std::nullopt},
               {"-1s", std::nullopt},
               {"1.5h", std::nullopt},
               {"5 min", std::nullopt},
               {"99999999999s", std::nullopt}};
  for (const auto& one : cases) {
    EXPECT_EQ(ParseDuration(one.text), one.seconds) << one.text;
  }
}

TEST(Suggestion, FindsNearWordsOnly) {
  const std::vector<std::string> names = {"--readings", "--seed", "--speed"};
  EXPECT_EQ(Nearest("--raedings", names), "--readings");
  EXPECT_EQ(Nearest("--spede", names), "--speed");
  EXPECT_EQ(Nearest("--colour", names), "");
  EXPECT_EQ(Distance("abcd", "acbd"), 1U);
}

}  // namespace
}  // namespace host
