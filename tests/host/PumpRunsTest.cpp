// Runs that draw their sample with a sipper pump, from the command line, on the virtual board.
#include <sstream>

#include <CLI/CLI.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "HostBoard.h"
#include "PumpIntake.h"
#include "host/Spoken.h"

namespace host {
namespace {

using nlohmann::json;
using testing::HasSubstr;

Spoken Speak(std::vector<std::string> arguments, const std::vector<std::string>& more) {
  arguments.insert(arguments.end(), more.begin(), more.end());
  arguments.insert(arguments.end(), {"--simulate", "--stray-light", "0", "--sample", "red:0.8", "--format", "json"});
  return host::Speak(arguments);
}

/// The absorbance nearest to the dye's peak.
double PeakAbsorbance(const std::string& results) {
  const json result = json::parse(results);
  const json& rows = result.contains("rows") ? result["rows"] : result["wavelengths"];
  return rows.empty() ? -1 : rows[rows.size() / 2]["absorbance"].get<double>();
}

const std::vector<std::string> Measurement = {"measure", "--wavelengths", "525", "--zeros", "525"};

TEST(PumpRuns, EachPumpDrawsTheSampleOfEachRun) {
  const std::vector<std::string> runs[] = {
      Measurement,
      {"scan", "--from", "515", "--to", "535", "--zeros", "515,525,535"},
      {"kinetics", "--wavelength", "525", "--every", "10s", "--for", "1min"},
  };
  for (const auto& run : runs) {
    for (const char* pump : {"zq410", "zq420"}) {
      SCOPED_TRACE(run[0] + " " + pump);
      const Spoken drawn = Speak(run, {"--pump", pump, "--pump-time", "4", "--settling-time", "1"});
      ASSERT_EQ(drawn.code, ExitCode::Success) << drawn.messages;
      EXPECT_NEAR(PeakAbsorbance(drawn.results), 0.8, 0.01);
      EXPECT_THAT(drawn.messages, HasSubstr("sample settles: 1 s left"));
      EXPECT_EQ(json::parse(drawn.results)["settings"]["pump_time_s"], "4");
      // What the pump has not brought cannot be measured: the cuvette still has its water.
      const Spoken tooShort = Speak(run, {"--pump", pump, "--pump-time", "1", "--settling-time", "1"});
      ASSERT_EQ(tooShort.code, ExitCode::Success) << tooShort.messages;
      EXPECT_NEAR(PeakAbsorbance(tooShort.results), 0.0, 0.01);
    }
  }
}

TEST(PumpRuns, AFailedCycleEndsTheRunWithoutAMeasurement) {
  const struct {
    const char* pump;
    const char* fault;
    ExitCode code;
    const char* message;
  } cases[] = {
      {"zq410", "error:1", ExitCode::NoEnd, "ZQ-410 did not finish its cycle"},
      {"zq410", "silence:1", ExitCode::NoEnd, "ZQ-410 did not finish its cycle"},
      {"zq410", "garbage:1:text=xyz", ExitCode::NoEnd, "ZQ-410 did not finish its cycle"},
      {"zq410", "keep-alive-stops", ExitCode::NoEnd, "ZQ-410 did not finish its cycle"},
      {"zq410", "flood", ExitCode::InstrumentError, "error 533"},
      {"zq410", "split:1:count=2:delay=500", ExitCode::Success, "finished"},
      {"zq410", "split:H:count=1:delay=2000", ExitCode::Success, "finished"},
      {"zq420", "error:s:count=3", ExitCode::InstrumentError, "error 615"},
      {"zq420", "error:s:count=4", ExitCode::Success, "finished"},
      {"zq420", "pumping:count=5:delay=1000", ExitCode::InstrumentError, "error 616"},
      {"zq420", "silence:s", ExitCode::InstrumentError, "error 612"},
      {"zq420", "silence:e", ExitCode::InstrumentError, "error 612"},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(std::string(one.pump) + " " + one.fault);
    const Spoken spoken = Speak(Measurement, {"--pump", one.pump, "--pump-fault", one.fault, "--pump-time", "4"});
    EXPECT_EQ(spoken.code, one.code) << spoken.messages;
    EXPECT_THAT(spoken.messages, HasSubstr(one.message));
    EXPECT_EQ(json::parse(spoken.results)["wavelengths"].empty(), one.code != ExitCode::Success);
  }
}

TEST(PumpRuns, BadOptionsStartNothing) {
  const std::vector<std::string> cases[] = {{"--pump", "zq430"},
                                            {"--pump-fault", "flood"},
                                            {"--pump", "zq420", "--pump-fault", "keep-alive-stops"},
                                            {"--pump", "zq410", "--pump-fault", "pumping:count=5"},
                                            {"--pump", "zq410", "--pump-fault", "flood:rate=5"},
                                            {"--pump", "zq410", "--pump-fault", "fire:1"}};
  for (const auto& one : cases) {
    const Spoken spoken = Speak(Measurement, one);
    EXPECT_EQ(spoken.code, ExitCode::BadInput);
    EXPECT_THAT(spoken.messages, testing::AllOf(HasSubstr("--pump"), HasSubstr("Nothing was started")));
  }
}

TEST(PumpRuns, APumpThatIsNotThereIsWaitedForInVainAndForAShortTime) {
  for (const char* pump : {"zq410", "zq420"}) {
    // The device is told of a pump; the instrument has none.
    HostBoard board;
    BoardOptions options;
    options.bSimulate = true;
    InstrumentOptions instrument;
    CLI::App app;
    instrument.AddTo(app);
    app.parse(std::string("--zeros 525 --pump ") + pump);
    instrument.Check();
    InstrumentOptions withoutPump;
    withoutPump.Check();
    ASSERT_EQ(board.Open(options, withoutPump), "");
    std::ostringstream messages;
    Progress progress(messages, false);
    Interrupt interrupt;
    {
      Session session(progress, interrupt, nullptr);
      ASSERT_EQ(session.StartUp(instrument.Parameters(), instrument.Calibration()).outcome, Outcome::Finished);
      EXPECT_FALSE(HasFlowCuvette(session, progress));
      board.Simulated()->Model().InsertCuvette(14, simulator::Sample::Blank(), board.Simulated()->Board().Now());
      ASSERT_EQ(session.WaitForCuvette(5), Outcome::Finished);
      EXPECT_FALSE(HasFlowCuvette(session, progress));
      const DWORD dwStart = photometer::platform::GetTickCount();
      EXPECT_EQ(ConnectPump(instrument, session, progress), ExitCode::NoPump);
      EXPECT_NEAR(photometer::platform::GetTickCount() - dwStart, 10'000, 500);
    }
    EXPECT_THAT(messages.str(),
                testing::AllOf(HasSubstr("no flow cuvette is inserted"), HasSubstr("of 14 mm is no flow cuvette"),
                               HasSubstr("has not answered"), HasSubstr("cable and power")));
    EXPECT_THAT(board.Faults(), testing::IsEmpty());
  }
}

}  // namespace
}  // namespace host
