// Runs that draw their sample with a sipper pump, from the command line, on the virtual board.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "host/Spoken.h"

namespace host {
namespace {

using nlohmann::json;
using testing::HasSubstr;

Spoken Draw(const Words& arguments, const Words& more) {
  return SimulateJson(Joined(Joined(arguments, more), {"--stray-light", "0", "--sample", "red:0.8"}));
}

/// The absorbance nearest to the dye's peak.
double PeakAbsorbance(const json& result) {
  const json& rows = result.contains("rows") ? result["rows"] : result["wavelengths"];
  return rows.empty() ? -1 : rows[rows.size() / 2]["absorbance"].get<double>();
}

const Words Measurement = {"measure", "--wavelengths", "525", "--zeros", "525"};

TEST(PumpRuns, EachPumpDrawsTheSampleOfEachRun) {
  const Words runs[] = {
      Measurement,
      {"scan", "--from", "515", "--to", "535", "--zeros", "515,525,535"},
      {"kinetics", "--wavelength", "525", "--every", "10s", "--for", "1min"},
  };
  for (const auto& run : runs) {
    for (const char* pump : {"zq410", "zq420"}) {
      SCOPED_TRACE(run[0] + " " + pump);
      const Spoken drawn = Draw(run, {"--pump", pump, "--pump-time", "4", "--settling-time", "1"});
      ASSERT_EQ(drawn.code, ExitCode::Success) << drawn.messages;
      EXPECT_NEAR(PeakAbsorbance(drawn.Result()), 0.8, 0.01);
      EXPECT_THAT(drawn.messages, HasSubstr("sample settles: 1 s left"));
      EXPECT_EQ(drawn.Result()["settings"]["pump_time_s"], "4");
      // What the pump has not brought cannot be measured: the cuvette still has its water.
      const Spoken tooShort = Draw(run, {"--pump", pump, "--pump-time", "1", "--settling-time", "1"});
      ASSERT_EQ(tooShort.code, ExitCode::Success) << tooShort.messages;
      EXPECT_NEAR(PeakAbsorbance(tooShort.Result()), 0.0, 0.01);
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
      {"zq410", "garbage:1:text=xyz", ExitCode::NoEnd, "ZQ-410 did not finish its cycle"},
      {"zq410", "keep-alive-stops", ExitCode::NoEnd, "ZQ-410 did not finish its cycle"},
      {"zq410", "flood", ExitCode::InstrumentError, "error 533"},
      {"zq410", "split:1:count=2:delay=500", ExitCode::Success, "finished"},
      {"zq420", "error:s:count=3", ExitCode::InstrumentError, "error 615"},
      {"zq420", "error:s:count=4", ExitCode::Success, "finished"},
      {"zq420", "pumping:count=5:delay=1000", ExitCode::InstrumentError, "error 616"},
      {"zq420", "silence:e", ExitCode::InstrumentError, "error 612"},
  };
  for (const auto& one : cases) {
    SCOPED_TRACE(std::string(one.pump) + " " + one.fault);
    const Spoken spoken = Draw(Measurement, {"--pump", one.pump, "--pump-fault", one.fault, "--pump-time", "4"});
    EXPECT_EQ(spoken.code, one.code) << spoken.messages;
    EXPECT_THAT(spoken.messages, HasSubstr(one.message));
    EXPECT_EQ(spoken.Result()["wavelengths"].empty(), one.code != ExitCode::Success);
  }
}

}  // namespace
}  // namespace host
