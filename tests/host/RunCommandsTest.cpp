// Each command once on the simulated instrument, from the command line to its results.
#include <algorithm>
#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "../../apps/common/SampleName.h"
#include "Plot.h"
#include "host/Spoken.h"
#include "support/TemporaryFolder.h"

namespace host {
namespace {

using nlohmann::json;
using photometer::tests::TemporaryFolder;
using testing::HasSubstr;

json Result(const Words& arguments, ExitCode expected = ExitCode::Success) {
  const Spoken spoken = SimulateJson(arguments);
  EXPECT_EQ(spoken.code, expected) << spoken.messages;
  return spoken.Result();
}

/// Greatest distance of the rows' absorbances from the sample's; the count of rows that have one.
std::pair<double, int> Compare(const json& result, const simulator::Sample& sample) {
  double dLargest = 0;
  int iCount = 0;
  for (const json& row : result["rows"]) {
    const double dWavelength = row["wavelength_nm"];
    if (!row["absorbance"].is_null()) {
      const double dDistance = row["absorbance"].get<double>() - sample.TrueAbsorbance(dWavelength, 0);
      dLargest = std::max(dLargest, std::abs(dDistance));
      ++iCount;
    }
  }
  return {dLargest, iCount};
}

TEST(ScanCommand, FindsTheSpectrumAgainstZeroValues) {
  const json result = Result({"scan", "--from", "400", "--to", "700", "--sample", "red:0.8", "--step", "0.1",
                              "--stray-light", "0", "--turbidity"});
  const auto [dLargest, iCount] = Compare(result, *common::FindSample("red:0.8"));
  EXPECT_EQ(iCount, static_cast<int>(result["rows"].size()));
  EXPECT_GT(iCount, 3000);
  // Noise is below 0.0005 here; at the edge of a filter change the zero values are not straight lines. One
  // nm out of place would be 0.016 on the slopes.
  EXPECT_LT(dLargest, 0.003);
  EXPECT_EQ(result["kind"], "scan");
  EXPECT_EQ(result["settings"]["step"], "0.1");
  EXPECT_TRUE(result["settings"].contains("turbidity_low_range_counts"));
}

TEST(ScanCommand, FindsTheSpectrumBelowTheSwitchingPointAgainstABlank) {
  const TemporaryFolder folder;
  const simulator::Sample sample = *common::FindSample("neutral:0.5");
  for (const char* name : {"blank.csv", "blank.json"}) {
    const std::string blank = folder.At(name);
    const Words range = {"scan", "--from", "240", "--to", "400", "--stray-light", "0"};
    ASSERT_EQ(Simulate(Joined(range, {"--sample", "blank", "--seed", "2", "--output", blank})).code, ExitCode::Success);
    Words arguments = Joined(range, {"--sample", "neutral:0.5", "--blank", blank});
    const json result = Result(arguments);
    const auto [dLargest, iCount] = Compare(result, sample);
    EXPECT_EQ(iCount, static_cast<int>(result["rows"].size()));
    EXPECT_LT(dLargest, 0.005);
    EXPECT_THAT(result["reference"].get<std::string>(), HasSubstr(blank));

    arguments[2] = "250";
    const Spoken other = Simulate(arguments);
    EXPECT_EQ(other.code, ExitCode::BadInput);
    EXPECT_THAT(other.messages, HasSubstr("was measured with from \"240\", not \"250\""));
  }
}

TEST(MeasureCommand, TakesABlankBelowTheSwitchingPoint) {
  const TemporaryFolder folder;
  const std::string blank = folder.At("blank.json");
  ASSERT_EQ(
      Simulate({"measure", "--wavelengths", "260,525", "--sample", "blank", "--readings", "3", "--output", blank}).code,
      ExitCode::Success);
  const json result = Result(
      {"measure", "--wavelengths", "260,525", "--sample", "neutral:0.5", "--stray-light", "0", "--blank", blank});
  for (const json& one : result["wavelengths"]) {
    EXPECT_NEAR(one["absorbance"].get<double>(), 0.5, 0.005) << one;
  }
  EXPECT_EQ(Simulate({"measure", "--wavelengths", "261", "--blank", blank}).code, ExitCode::BadInput);
  EXPECT_EQ(Simulate({"scan", "--blank", blank}).code, ExitCode::BadInput) << "a measurement is no spectrum";
}

TEST(KineticsCommand, FollowsTheReaction) {
  const json result =
      Result({"kinetics", "--wavelength", "340", "--every", "10s", "--for", "2min", "--sample", "reaction:0.8"});
  const json& rows = result["rows"];
  ASSERT_EQ(rows.size(), 14U);
  const auto at = [&rows](std::size_t i) { return rows[i]["absorbance"].get<double>(); };
  for (std::size_t i = 0; i < rows.size(); ++i) {
    EXPECT_EQ(rows[i]["cycle"], i);
    EXPECT_NEAR(rows[i]["time_min"].get<double>(), static_cast<double>(i) / 6, 1e-9);
  }
  // What is still to come halves every 30 s.
  for (std::size_t i = 0; i + 3 < rows.size(); ++i) {
    EXPECT_NEAR((0.8 - at(i + 3)) / (0.8 - at(i)), 0.5, 0.02) << i;
  }
}

TEST(TurbidityCommand, ReadsBothRanges) {
  const json low = Result({"turbidity", "--sample", "turbid:10"})["rows"];
  const json high = Result({"turbidity", "--sample", "turbid:40"})["rows"];
  for (std::size_t i = 0; i < 2; ++i) {
    // 200 + 400 NTU, times a factor.
    EXPECT_NEAR(high[i]["reading_counts"].get<double>() / low[i]["reading_counts"].get<double>(), 16200.0 / 4200.0,
                0.05);
  }
}

TEST(SystemCheckCommand, FindsEachDefectWithItsStepAndExitCode) {
  const struct {
    std::string defect;
    std::string step;
  } cases[] = {{"weak-halogen", "halogen lamp"}, {"slipped-motor", "wavelength"}, {"leaky-filter:1", "filter 1"},
               {"leaky-filter:2", "filter 2"},   {"leaky-filter:3", "filter 3"},  {"noisy-detectors", "detectors"}};
  for (const auto& one : cases) {
    const json result = Result({"check", "system", "--defect", one.defect}, ExitCode::CheckFailed);
    for (const json& row : result["rows"]) {
      const bool bFailed = row["verdict"] == "FAILED";
      EXPECT_EQ(bFailed, row["step"] == one.step) << one.defect << row;
      EXPECT_EQ(bFailed, !row["advice"].get<std::string>().empty());
    }
  }
  const json sound = Result({"check", "system"});
  EXPECT_EQ(std::count_if(sound["rows"].begin(), sound["rows"].end(),
                          [](const json& row) { return row["verdict"] == "passed"; }),
            7);
  const json dark = Result({"check", "system", "--defect", "dead-deuterium"}, ExitCode::InstrumentError);
  EXPECT_EQ(dark["error"], 77);
  EXPECT_EQ(dark["outcome"], "instrument error");
}

TEST(WavelengthTestCommand, MendsASlippedMotorAndRefusesAWrongOne) {
  const Spoken passed = Simulate({"test", "wavelength", "--defect", "slipped-motor"});
  EXPECT_EQ(passed.code, ExitCode::Success) << passed.messages;
  EXPECT_THAT(passed.results, testing::AllOf(HasSubstr("passed"), HasSubstr("zero values were measured again")));
  const json failed = Result({"test", "wavelength", "--offset", "40"}, ExitCode::CheckFailed);
  EXPECT_EQ(failed["rows"][0]["verdict"], "FAILED");
  EXPECT_EQ(failed["error"], -2);
}

TEST(WavelengthCheckCommand, TellsHowFarPeaksAreOff) {
  const json result = Result({"check", "wavelength", "--offset", "8"});
  ASSERT_EQ(result["rows"].size(), 3U);
  for (const json& row : result["rows"]) {
    // Eight steps of about 0.083 nm, found to within one.
    EXPECT_NEAR(row["difference_nm"].get<double>(), 0.66, 0.09) << row;
  }
  EXPECT_EQ(Simulate({"check", "wavelength", "--offset", "8", "--tolerance", "0.5"}).code, ExitCode::CheckFailed);
  const Spoken none = Simulate({"check", "wavelength", "--peaks", "600"});
  EXPECT_EQ(none.code == ExitCode::CheckFailed, none.results.find("FAILED") != std::string::npos) << none.results;
}

TEST(HolmiumScanCommand, FindsThePeaksOfTheFilter) {
  const json result = Result({"scan-holmium", "--first", "5100", "--last", "6400"});
  const json& rows = result["rows"];
  ASSERT_EQ(rows.size(), 1301U);
  EXPECT_EQ(rows[0]["position"], 5100);
  EXPECT_EQ(rows[1300]["position"], 6400);
  const auto highest = std::max_element(rows.begin(), rows.end(), [](const json& one, const json& other) {
    return one["absorbance"].get<double>() < other["absorbance"].get<double>();
  });
  EXPECT_NEAR((*highest)["wavelength_nm"].get<double>(), 453.8, 0.2);
  EXPECT_THAT(result["settings"]["found_peak_537"].get<std::string>(), testing::StartsWith("537.0"));
  EXPECT_FALSE(result["settings"].contains("found_peak_360.7")) << "it is outside of the range";
}

TEST(RunCommand, NeverOverwritesWithoutForce) {
  for (const char* option : {"--output", "--trace"}) {
    const TemporaryFolder folder;
    const std::string path = folder.Write("file.csv", "mine");
    const Spoken refused = Simulate({"turbidity", option, path});
    EXPECT_EQ(refused.code, ExitCode::BadInput);
    EXPECT_THAT(refused.messages,
                HasSubstr(std::string(option) + ": " + path + " is there already; give another name, "));
    EXPECT_EQ(folder.Read("file.csv"), "mine");
    EXPECT_EQ(Simulate({"turbidity", option, path, "--force"}).code, ExitCode::Success);
    EXPECT_GT(folder.Read("file.csv").size(), 200U);
    EXPECT_EQ(folder.Entries(".").size(), 1U);
    EXPECT_EQ(Simulate({"turbidity", "--trace", path, "--output", path, "--force"}).code, ExitCode::BadInput);
  }
}

TEST(Plot, QuotesWhatPeopleWrite) {
  Plot plot;
  plot.strTitle = "it's\n$x `rm` \"q\"";
  EXPECT_THAT(PlotScript(plot), HasSubstr("'it''s$x `rm` \"q\"'"));
}

TEST(Plot, DrawsAxesUnitsSampleAndDate) {
  if (!CanPlot()) {
    GTEST_SKIP() << PlotAdvice;
  }
  const TemporaryFolder folder;
  const struct {
    Words arguments;
    Words parts;
  } cases[] = {
      {{"scan", "--from", "400", "--label", "Müller's \"tea\" & milk"},
       {"wavelength / nm", ">absorbance<", "sample: Müller's", "date: 20", "> 500<", "> 1.2<"}},
      {{"kinetics", "--wavelength", "436", "--for", "0min"}, {"time / min", "Kinetics at 436 nm", "sample: mixture"}},
      {{"scan-holmium"}, {"holmium oxide", ">453.8 nm<", ">453.77 nm<", "nominal peak", "found peak"}},
      {{"check", "wavelength"}, {"found - nominal / nm", ">453.8 nm<", ">453.77 nm<"}},
  };
  for (const auto& one : cases) {
    const Spoken spoken = Simulate(Joined(one.arguments, {"--plot", folder.At("a.svg"), "--force"}));
    ASSERT_EQ(spoken.code, ExitCode::Success) << spoken.messages;
    const std::string svg = folder.Read("a.svg");
    EXPECT_TRUE(svg.ends_with("</svg>\n\n") || svg.ends_with("</svg>\n"));
    for (const std::string& part : one.parts) {
      // The whole picture would be too much for a message.
      EXPECT_NE(svg.find(part), std::string::npos) << part;
    }
  }
}

}  // namespace
}  // namespace host
