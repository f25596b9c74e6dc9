// The programs as processes: what only shows there.
#include <signal.h>

#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "ExitCodes.h"
#include "host/ChildProcess.h"
#include "host/TemporaryFolder.h"

namespace host {
namespace {

using testing::HasSubstr;

const std::string Host = std::string(PHOTOMETER_PROGRAM_FOLDER) + "/photometer";
const std::string Simulator = std::string(PHOTOMETER_PROGRAM_FOLDER) + "/photometer-simulator";
const std::string Wavelengths = "345,436,525,885";
/// Everything until the stream's end.
const std::string End;

std::string Contents(const std::filesystem::path& path) {
  std::ostringstream text;
  text << std::ifstream(path, std::ios::binary).rdbuf();
  return text.str();
}

/// The path behind a word at the beginning of a line.
std::string ValueOf(const std::string& text, const std::string& word) {
  const std::size_t nStart = text.find(word) + word.size();
  return text.substr(nStart, text.find('\n', nStart) - nStart);
}

nlohmann::json MeasureSimulated() {
  ChildProcess host({Host, "measure", "--simulate", "--wavelengths", Wavelengths, "--zeros", Wavelengths, "--readings",
                     "3", "--sample", "red:0.8", "--format", "json"});
  const std::string results = host.ReadOutputUntil(End);
  EXPECT_EQ(host.Wait(), 0) << host.ReadErrorUntil(End);
  return nlohmann::json::parse(results);
}

TEST(Programs, SameAbsorbancesThroughAPseudoTerminalAndOnTheVirtualBoard) {
  ChildProcess simulator({Simulator, "--commands", "--seed", "5", "--sample", "red:0.8", "--speed", "10"});
  const std::string board = ValueOf(simulator.ReadOutputUntil("Ctrl-C"), "board: ");
  ChildProcess host({Host, "measure", "--board", board, "--wavelengths", Wavelengths, "--zeros", Wavelengths,
                     "--readings", "3", "--format", "json", "--wait-for-cuvette", "60"});
  host.ReadErrorUntil("please insert the cuvette");
  simulator.Write("insert\n");
  const std::string results = host.ReadOutputUntil(End);
  ASSERT_EQ(host.Wait(), 0) << host.ReadErrorUntil(End);
  simulator.Signal(SIGTERM);
  EXPECT_EQ(simulator.Wait(), 0);

  const auto real = nlohmann::json::parse(results);
  const auto simulated = MeasureSimulated();
  ASSERT_EQ(real["wavelengths"].size(), 4U);
  EXPECT_EQ(real["firmware"], simulated["firmware"]);
  for (std::size_t i = 0; i < 4; ++i) {
    const auto& one = real["wavelengths"][i];
    const auto& other = simulated["wavelengths"][i];
    EXPECT_EQ(one["position"], other["position"]);
    // The noise of one absorbance of three readings is below 0.0007 at these absorbances: five standard deviations of
    // a difference.
    EXPECT_NEAR(one["absorbance"].get<double>(), other["absorbance"].get<double>(), 0.005) << one << other;
  }
  EXPECT_NEAR(real["wavelengths"][2]["absorbance"].get<double>(), 0.8, 0.01);
}

TEST(Programs, ScanOverAPseudoTerminalLosesAndDoublesNoPoint) {
  // Over the change from the halogen lamp's high power to its low one and of a filter, ten times as fast as real.
  const std::vector<std::string> scan = {"--from", "440",     "--to",    "460",      "--step",
                                         "0.1",    "--zeros", "440,460", "--format", "json"};
  ChildProcess simulator({Simulator, "--commands", "--seed", "5", "--sample", "yellow:0.8", "--speed", "10"});
  const std::string board = ValueOf(simulator.ReadOutputUntil("Ctrl-C"), "board: ");
  std::vector<std::string> arguments = {Host, "scan", "--board", board, "--wait-for-cuvette", "60"};
  arguments.insert(arguments.end(), scan.begin(), scan.end());
  ChildProcess host(arguments);
  host.ReadErrorUntil("please insert the cuvette");
  simulator.Write("insert\n");
  const std::string results = host.ReadOutputUntil(End);
  ASSERT_EQ(host.Wait(), 0) << host.ReadErrorUntil(End);
  simulator.Signal(SIGTERM);
  EXPECT_EQ(simulator.Wait(), 0);

  arguments = {Host, "scan", "--simulate", "--sample", "yellow:0.8"};
  arguments.insert(arguments.end(), scan.begin(), scan.end());
  ChildProcess other(arguments);
  const auto expected = nlohmann::json::parse(other.ReadOutputUntil(End))["rows"];
  ASSERT_EQ(other.Wait(), 0);
  const auto rows = nlohmann::json::parse(results)["rows"];
  ASSERT_EQ(rows.size(), expected.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i]["position"], rows[0]["position"].get<int>() + static_cast<int>(i));
    EXPECT_EQ(rows[i]["wavelength_nm"], expected[i]["wavelength_nm"]);
    EXPECT_NEAR(rows[i]["absorbance"].get<double>(), expected[i]["absorbance"].get<double>(), 0.05) << rows[i];
  }
}

TEST(Programs, OneSeedGivesTheSameTraceInEveryProcess) {
  const TemporaryFolder folder;
  std::vector<std::string> traces;
  for (const char* seed : {"7", "7", "8"}) {
    const std::string trace = (folder.Path() / ("trace" + std::to_string(traces.size()))).string();
    ChildProcess host(
        {Host, "measure", "--simulate", "--wavelengths", "436", "--zeros", "436", "--seed", seed, "--trace", trace});
    host.ReadOutputUntil(End);
    ASSERT_EQ(host.Wait(), 0) << host.ReadErrorUntil(End);
    traces.push_back(Contents(trace));
  }
  EXPECT_EQ(traces[0], traces[1]);
  EXPECT_NE(traces[0], traces[2]);
  for (const char* part : {"\tCOM2>\t$v\\x0D\n", "\tsink\tOnNotify 1 17 100\n", "\tsink\tOnCuvetteChanged 10\n",
                           "\tlog\t", "\tdebug\t", "\tCOM2<\t"}) {
    EXPECT_THAT(traces[0], HasSubstr(part));
  }
}

TEST(Programs, InterruptShutsTheInstrumentDownAndHasItsOwnExitCode) {
  ChildProcess simulator({Simulator});
  const std::string board = ValueOf(simulator.ReadOutputUntil("Ctrl-C"), "board: ");
  const TemporaryFolder folder;
  const std::string trace = (folder.Path() / "trace").string();
  ChildProcess host({Host, "measure", "--board", board, "--wavelengths", "436", "--trace", trace});
  host.ReadErrorUntil("lamp test");
  host.Signal(SIGINT);
  EXPECT_THAT(host.ReadErrorUntil(End), HasSubstr("start-up cancelled"));
  EXPECT_EQ(host.Wait(), static_cast<int>(ExitCode::Cancelled));
  EXPECT_THAT(Contents(trace), HasSubstr("COM2>\t$h0\\x0D"));
  simulator.Signal(SIGTERM);
  EXPECT_EQ(simulator.Wait(), 0);
}

TEST(Programs, SimulatorEndsCleanlyAndTakesItsFilesAway) {
  for (const int iSignal : {SIGINT, SIGTERM}) {
    ChildProcess simulator({Simulator, "--cuvette-after", "0"});
    const std::filesystem::path board = ValueOf(simulator.ReadOutputUntil("Ctrl-C"), "board: ");
    const std::filesystem::path pin = board.parent_path() / "pins" / "pin12";
    for (int iTry = 0; iTry < 100 && Contents(pin) != "1\n"; ++iTry) {
      usleep(20'000);
    }
    EXPECT_EQ(Contents(pin), "1\n");
    EXPECT_TRUE(std::filesystem::exists(board.parent_path() / "root/NANDFlash/Logging"));
    simulator.Signal(iSignal);
    EXPECT_EQ(simulator.Wait(), 0);
    EXPECT_FALSE(std::filesystem::exists(board.parent_path()));
  }
}

TEST(Programs, SimulatorKeepsWhatItIsToldToAndOverwritesNothing) {
  const TemporaryFolder folder;
  {
    ChildProcess simulator({Simulator, "--keep", "--commands", "--folder", folder.Path().string()});
    simulator.ReadOutputUntil("Ctrl-C");
    simulator.Write("quit\n");
    EXPECT_EQ(simulator.Wait(), 0);
  }
  EXPECT_TRUE(std::filesystem::exists(folder.Path() / "board.toml"));
  ChildProcess second({Simulator, "--folder", folder.Path().string()});
  EXPECT_THAT(second.ReadErrorUntil(End), HasSubstr("is there already"));
  EXPECT_EQ(second.Wait(), 1);
}

TEST(Programs, SimulatorRefusesBadInput) {
  for (const std::vector<std::string>& arguments :
       {std::vector<std::string>{"--fault", "fire:a"}, {"--sample", "tea"}, {"--noise", "loud"}, {"--offset", "x"}}) {
    ChildProcess simulator({Simulator, arguments[0], arguments[1]});
    EXPECT_THAT(simulator.ReadErrorUntil(End), HasSubstr(arguments[0]));
    EXPECT_EQ(simulator.Wait(), 2);
  }
}

}  // namespace
}  // namespace host
