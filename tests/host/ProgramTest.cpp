// The programs as processes: what only shows there.
#include <signal.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../apps/common/SampleName.h"
#include "host/ChildProcess.h"
#include "host/Spoken.h"
#include "simulator/Detector.h"
#include "simulator/Monochromator.h"
#include "support/TemporaryFolder.h"

namespace host {
namespace {

using photometer::tests::TemporaryFolder;
using testing::HasSubstr;

const std::string Host = std::string(PHOTOMETER_PROGRAM_FOLDER) + "/photometer";
const std::string Simulator = std::string(PHOTOMETER_PROGRAM_FOLDER) + "/photometer-simulator";
const Words Measurement = {
    Host, "measure",  "--wavelengths", "345,436,525,885", "--zeros", "345,436,525,885", "--readings",
    "3",  "--format", "json"};
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
  ChildProcess host(Joined(Measurement, {"--simulate", "--sample", "red:0.8"}));
  const std::string results = host.ReadOutputUntil(End);
  EXPECT_EQ(host.Wait(), 0) << host.ReadErrorUntil(End);
  return nlohmann::json::parse(results);
}

/// An instrument in one process and a host that measures with it in another.
struct RemoteMeasurement {
  RemoteMeasurement(const std::string& pump, const std::string& pumpTime)
      : simulator({Simulator, "--commands", "--seed", "5", "--sample", "red:0.8", "--speed", "100", "--pump", pump}),
        host(Joined(Measurement,
                    {"--board", ValueOf(simulator.ReadOutputUntil("Ctrl-C"), "board: "), "--wait-for-cuvette", "60",
                     "--pump", pump, "--pump-time", pumpTime, "--settling-time", "0"})) {}

  ChildProcess simulator;
  ChildProcess host;
};

TEST(Programs, SameAbsorbancesThroughPseudoTerminalsAndOnTheVirtualBoard) {
  // All at once: they mostly wait. The time of a ZQ-410 passes as fast as that of its instrument, the host's, which
  // stops a ZQ-420, does not.
  RemoteMeasurement remote[] = {{"none", "0"}, {"zq410", "4"}, {"zq420", "1"}};
  for (RemoteMeasurement& one : remote) {
    one.host.ReadErrorUntil("please insert the");
    one.simulator.Write("insert\n");
  }
  const auto simulated = MeasureSimulated();
  for (RemoteMeasurement& one : remote) {
    const std::string results = one.host.ReadOutputUntil(End);
    ASSERT_EQ(one.host.Wait(), 0) << one.host.ReadErrorUntil(End);
    one.simulator.Signal(SIGTERM);
    EXPECT_EQ(one.simulator.Wait(), 0);
    const auto real = nlohmann::json::parse(results);
    ASSERT_EQ(real["wavelengths"].size(), 4U);
    EXPECT_EQ(real["firmware"], simulated["firmware"]);
    for (std::size_t i = 0; i < 4; ++i) {
      const auto& value = real["wavelengths"][i];
      const auto& other = simulated["wavelengths"][i];
      EXPECT_EQ(value["position"], other["position"]);
      // The noise of one absorbance of three readings is below 0.0007 at these absorbances: five standard deviations of
      // a difference.
      EXPECT_NEAR(value["absorbance"].get<double>(), other["absorbance"].get<double>(), 0.005) << value << other;
    }
    EXPECT_NEAR(real["wavelengths"][2]["absorbance"].get<double>(), 0.8, 0.01);
  }
}

/// Whether the absorbances of a scan against a blank scan are those of the sample, apart from what noise explains.
void ExpectAbsorbances(const nlohmann::json& rows, const nlohmann::json& blank, const simulator::Sample& sample) {
  ASSERT_EQ(rows.size(), blank.size());
  int iBeyondThree = 0;
  double dSum = 0;
  const int iFirst = blank[0]["position"];
  for (std::size_t i = 0; i < rows.size(); ++i) {
    ASSERT_EQ(rows[i]["position"], iFirst + static_cast<int>(i)) << "a point is lost or doubled";
    const double dExpected = sample.TrueAbsorbance(simulator::WavelengthPolynomial{}.At(rows[i]["position"]), 0);
    const double dZero = blank[i]["sample"];
    const double dReference = blank[i]["reference"];
    const double dSigma = simulator::AbsorbanceStandardDeviation(dZero * std::pow(10.0, -dExpected), dReference, dZero,
                                                                 dReference, {.lightReadings = 1.0});
    const double dScore = (rows[i]["absorbance"].get<double>() - dExpected) / dSigma;
    EXPECT_LT(std::abs(dScore), 5.0) << rows[i];
    iBeyondThree += std::abs(dScore) > 3.0 ? 1 : 0;
    dSum += dScore;
  }
  const auto nRows = static_cast<double>(rows.size());
  EXPECT_LE(iBeyondThree, nRows / 100);
  // All points of a segment share its dark value, whose noise is a fifth of a point's.
  EXPECT_LT(std::abs(dSum / nRows), 3 * 0.2);
}

/// An instrument in one process and a host in another that records a spectrum with it.
struct RemoteScan {
  explicit RemoteScan(const Words& scan)
      : simulator(
            {Simulator, "--commands", "--seed", "5", "--sample", "yellow:0.8", "--speed", "100", "--stray-light", "0"}),
        host(Joined({Host, "scan", "--board", ValueOf(simulator.ReadOutputUntil("Ctrl-C"), "board: "),
                     "--wait-for-cuvette", "60", "--step", "0.1", "--format", "json"},
                    scan)) {}

  /// From the insertion of the sample on everything takes the time that it takes on an instrument.
  void InsertAtTrueRate() {
    host.ReadErrorUntil("please insert the cuvette");
    simulator.Write("speed 1\ninsert\n");
  }
  std::string State() {
    simulator.Write("state\n");
    return simulator.ReadOutputUntil("position");
  }

  ChildProcess simulator;
  ChildProcess host;
};

TEST(Programs, ScansAtTheTrueRateAreRightAndCanBeInterrupted) {
  const TemporaryFolder folder;
  const std::string blank = folder.At("blank.json");
  ChildProcess blankHost({Host, "scan", "--simulate", "--sample", "blank", "--seed", "9", "--stray-light", "0",
                          "--output", blank, "--from", "440", "--to", "460", "--step", "0.1"});
  ASSERT_EQ(blankHost.Wait(), 0) << blankHost.ReadErrorUntil(End);
  // Both start-ups at once, since they mostly wait. The first scan goes over a change of the lamp's power and of the
  // filter.
  RemoteScan whole({"--from", "440", "--to", "460", "--zeros", "440", "--blank", blank});
  RemoteScan interrupted({"--from", "440", "--to", "900", "--zeros", "440,900"});
  whole.InsertAtTrueRate();
  interrupted.InsertAtTrueRate();

  interrupted.host.ReadErrorUntil("spectrum: ");
  EXPECT_THAT(interrupted.State(), testing::ContainsRegex("state: halogen [12] .* mirror 1"));
  interrupted.host.Signal(SIGINT);
  const std::string wholeResults = whole.host.ReadOutputUntil(End);
  const auto part = nlohmann::json::parse(interrupted.host.ReadOutputUntil(End));
  EXPECT_EQ(interrupted.host.Wait(), static_cast<int>(ExitCode::Cancelled));
  EXPECT_EQ(part["outcome"], "cancelled");
  EXPECT_GT(part["rows"].size(), 0U) << "what had been measured is given";
  EXPECT_LT(part["rows"].size(), 5000U);
  EXPECT_THAT(interrupted.State(), HasSubstr("state: halogen 0 deuterium 0 mirror 0 fan 0"));

  ASSERT_EQ(whole.host.Wait(), 0) << whole.host.ReadErrorUntil(End);
  ExpectAbsorbances(nlohmann::json::parse(wholeResults)["rows"],
                    nlohmann::json::parse(folder.Read("blank.json"))["rows"], *common::FindSample("yellow:0.8"));
}

TEST(Programs, OneSeedGivesTheSameTraceInEveryProcess) {
  std::vector<std::string> traces;
  for (const char* seed : {"7", "7", "8"}) {
    const TemporaryFolder folder;
    ChildProcess host({Host, "measure", "--simulate", "--wavelengths", "436", "--zeros", "436", "--seed", seed,
                       "--trace", folder.At("trace")});
    host.ReadOutputUntil(End);
    ASSERT_EQ(host.Wait(), 0) << host.ReadErrorUntil(End);
    traces.push_back(folder.Read("trace"));
  }
  EXPECT_EQ(traces[0], traces[1]);
  EXPECT_NE(traces[0], traces[2]);
  for (const char* part : {"\tCOM2>\t$v\\x0D\n", "\tsink\tOnNotify 1 17 100\n", "\tsink\tOnCuvetteChanged 10\n",
                           "\tlog\t", "\tdebug\t", "\tCOM2<\t"}) {
    EXPECT_THAT(traces[0], HasSubstr(part));
  }
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
  ChildProcess simulator({Simulator, "--keep", "--commands", "--folder", folder.Path()});
  simulator.ReadOutputUntil("Ctrl-C");
  simulator.Write("insert red:0.5 12\nquit\n");
  EXPECT_THAT(simulator.ReadErrorUntil(End), HasSubstr("there is no cuvette of 12 mm"));
  EXPECT_EQ(simulator.Wait(), 0);
  EXPECT_TRUE(std::filesystem::exists(folder.At("board.toml")));
  ChildProcess second({Simulator, "--folder", folder.Path()});
  EXPECT_THAT(second.ReadErrorUntil(End), HasSubstr("is there already"));
  EXPECT_EQ(second.Wait(), 1);
}

TEST(Programs, SimulatorRefusesBadInput) {
  for (const auto& [option, value] :
       {std::pair("--fault", "fire:a"), {"--sample", "tea"}, {"--noise", "loud"}, {"--pump-fault", "flood"}}) {
    ChildProcess simulator({Simulator, option, value});
    EXPECT_THAT(simulator.ReadErrorUntil(End), HasSubstr(option));
    EXPECT_EQ(simulator.Wait(), 2);
  }
}

}  // namespace
}  // namespace host
