#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "../../apps/common/FaultText.h"
#include "Progress.h"
#include "ReportFormat.h"
#include "SimulatorPage.h"

namespace host {
namespace {

using testing::HasSubstr;

ResultHeader Header() {
  ResultHeader header;
  header.strKind = "measure";
  header.strOutcome = OutcomeFinished;
  header.strFirmware = "KESTRA 1";
  header.strTime = "2026-11-24T14:25:21";
  header.strSample = "tap\nwater";
  header.settings = {{"readings", "2"}};
  return header;
}

/// One wavelength with a zero value (absorbances 1 and 1.30103), one without.
MeasureReport Example() {
  MeasureReport report;
  report.Add({{0, 5023, 436.5, 100, 2000, 0, 0}, {0, 5023, 436.5, 50, 2000, 0, 0}});
  report.wavelengths[0].zero = DetectorPair{1000, 2000};
  report.Add({{1, 2300, 200, 7, 8, 0, 0}});
  report.wavelengths[1].strWhyNot = "no \"zero\" value";
  return report;
}

TEST(ReportFormat, TableHasALineForEachWavelength) {
  MeasureReport report = Example();
  const std::string table = FormatReport(Header(), report, OutputFormat::Table);
  EXPECT_THAT(table, HasSubstr("  436.50      5023         75.0       2000.0     1.15051   0.21286\n"));
  EXPECT_THAT(table, HasSubstr("  200.00      2300          7.0          8.0           -  no \"zero\" value\n"));
  report.wavelengths[0].expected = Expectation{1.1, 0.02};
  const std::string expected = FormatReport(Header(), report, OutputFormat::Table);
  EXPECT_THAT(expected, HasSubstr("1.15051   1.10000     0.05051   0.02000\n"));
  EXPECT_THAT(expected, HasSubstr("the largest difference is 2.5 of them"));
}

TEST(ReportFormat, CsvHasALineForEachReading) {
  EXPECT_EQ(FormatReport(Header(), Example(), OutputFormat::Csv),
            "# schema: photometer-result 1\n# kind: measure\n# outcome: finished\n# error: \n# instrument: \n"
            "# firmware: KESTRA 1\n# settings_file: \n# host_file: \n# time: 2026-11-24T14:25:21\n# sample: tap "
            "water\n# reference: \n"
            "# setting readings: 2\n"
            "wavelength_nm,position,reading,sample,reference,absorbance,note\n"
            "436.5,5023,1,100.000,2000.000,1.000000,\n"
            "436.5,5023,2,50.000,2000.000,1.301030,\n"
            "200,2300,1,7.000,8.000,,\"no \"\"zero\"\" value\"\n");
}

TEST(ReportFormat, JsonKeepsEveryDigitAndSurvivesForeignBytes) {
  ResultHeader header = Header();
  header.error = -3;
  header.strFirmware = "\xFF";
  const auto json = nlohmann::json::parse(FormatReport(header, Example(), OutputFormat::Json));
  EXPECT_EQ(json["schema"], "photometer-result");
  EXPECT_EQ(json["version"], 1);
  EXPECT_EQ(json["settings"]["readings"], "2");
  EXPECT_EQ(json["error"], -3);
  EXPECT_EQ(json["outcome"], "finished");
  EXPECT_EQ(json["wavelengths"][0]["readings"][1]["absorbance"].get<double>(), Absorbance({50, 2000}, {1000, 2000}));
  EXPECT_EQ(json["wavelengths"][0]["zero"]["reference"], 2000);
  EXPECT_TRUE(json["wavelengths"][1]["absorbance"].is_null());
  EXPECT_EQ(json["wavelengths"][1]["note"], "no \"zero\" value");
}

/// A zero measurement that fails, on a stream, or on a terminal of so many columns.
std::string Shown(std::size_t nColumns) {
  std::ostringstream stream;
  Progress progress(stream, nColumns > 0, nullptr, [nColumns] { return nColumns; });
  for (const photometer::DWORD dwPercent : {0U, 10U, 20U, 50U, 100U, 100U}) {
    progress.Show(Notification{0, 7, dwPercent});
  }
  progress.Show(InstrumentError{0, 132, false});
  return stream.str();
}

TEST(Progress, WritesPlainLinesForQuartersAndRedrawsABarOnATerminal) {
  EXPECT_THAT(Shown(0), testing::StartsWith(
                            "zero measurement: 10 %\nzero measurement: 50 %\nzero measurement: 100 %\nerror 132"));
  EXPECT_THAT(Shown(120), testing::StartsWith("\r[###...........................]  10 %  zero measurement\r["));
  EXPECT_THAT(Shown(120), HasSubstr("100 %  zero measurement\nerror 132"));
  // A line that goes on on the next one could not be drawn over.
  EXPECT_THAT(Shown(40), testing::StartsWith("\r[#............]  10 %  zero measurement\r["));
  EXPECT_THAT(Shown(26), testing::StartsWith("\r 10 %  zero measurement\r"));
  EXPECT_THAT(Shown(10), testing::StartsWith("\r 10 %  ze\r"));
}

TEST(Progress, EstimatesTheTimeLeftFromThePaceSoFar) {
  std::ostringstream stream;
  photometer::DWORD dwTick = 0xFFFFFF00U;  // about to wrap
  {
    Progress progress(stream, false, [&dwTick] { return dwTick; });
    progress.ShowShare("spectrum", 0.1);
    dwTick += 60'000;
    progress.ShowShare("spectrum", 0.4);
    progress.ShowShare("series", 0.5, 75);
    progress.ShowShare("series", 1.0, 0);
  }
  EXPECT_EQ(stream.str(),
            "spectrum: 10 %\nspectrum: 40 %, 2 min 0 s left\nseries: 50 %, 1 min 15 s left\nseries: 100 %\n");
}

TEST(Progress, KeepsTheBarsLengthWhileTheTimeLeftComesAndGoes) {
  std::ostringstream stream;
  photometer::DWORD dwTick = 0;
  Progress progress(
      stream, true, [&dwTick] { return dwTick; }, [] { return 50U; });
  for (const double dShare : {0.0, 0.5, 1.0}) {
    progress.ShowShare("spectrum", dShare);
    dwTick += 700'000;
  }
  EXPECT_EQ(stream.str(),
            "\r[............]   0 %  spectrum\r[######......]  50 %  spectrum, 11 min 40 s left"
            "\r[############] 100 %  spectrum                  ");
}

TEST(FaultText, TakesKindCommandAndValues) {
  const auto fault = std::get<simulator::Fault>(common::ParseFault("late-trailer:s:2:delay=500"));
  EXPECT_EQ(fault.kind, simulator::FaultKind::LateTrailer);
  EXPECT_EQ(fault.letter, 's');
  EXPECT_EQ(fault.nth, 2U);
  EXPECT_EQ(fault.delay, 500'000U);
  EXPECT_EQ(std::get<simulator::Fault>(common::ParseFault("lost:*:*:first=1:count=2")).letter, 0);
  for (const char* text : {"", "late", "late:", "late:ab", "late:q:delay=5", "late:V:delay=5", "late:a:x",
                           "late:a:1:delay=", "late:a:1:dealy=3", "fire:a", "late:a", "garbage:a:text",
                           "split:a:count=3", "stop-after:s:2"}) {
    EXPECT_TRUE(std::holds_alternative<std::string>(common::ParseFault(text))) << text;
  }
}

TEST(SimulatorHelp, FitsATerminal) {
  std::istringstream help(serving::SimulatorHelp());
  for (std::string line; std::getline(help, line);) {
    EXPECT_LE(line.size(), 100U) << line;
  }
}

}  // namespace
}  // namespace host
