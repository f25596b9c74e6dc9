#include <sstream>

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include "../../apps/common/FaultText.h"
#include "Progress.h"
#include "ReportFormat.h"

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

TEST(MeasureReport, FormsAbsorbances) {
  const MeasuredWavelength one = Example().wavelengths[0];
  EXPECT_DOUBLE_EQ(Absorbance({100, 2000}, {1000, 2000}), 1.0);
  EXPECT_DOUBLE_EQ(Absorbance({100, 1000}, {1000, 2000}), 1.0 - std::log10(2.0));
  EXPECT_NEAR(one.MeanAbsorbance().value(), 1.150515, 1e-6);
  EXPECT_NEAR(one.Spread().value(), 0.30103 / std::sqrt(2.0), 1e-6);
  EXPECT_DOUBLE_EQ(one.Mean().dSample, 75);
  EXPECT_FALSE(Example().wavelengths[1].MeanAbsorbance().has_value());
}

TEST(ReportFormat, TableHasALineForEachWavelength) {
  const std::string table = FormatReport(Header(), Example(), OutputFormat::Table);
  EXPECT_THAT(table, HasSubstr("  436.50      5023         75.0       2000.0     1.15051   0.21286\n"));
  EXPECT_THAT(table, HasSubstr("  200.00      2300          7.0          8.0           -  no \"zero\" value\n"));
}

TEST(ReportFormat, TableShowsWhatWasExpected) {
  MeasureReport report = Example();
  report.wavelengths[0].expected = Expectation{1.1, 0.02};
  const std::string table = FormatReport(Header(), report, OutputFormat::Table);
  EXPECT_THAT(table, HasSubstr("1.15051   1.10000     0.05051   0.02000\n"));
  EXPECT_THAT(table, HasSubstr("the largest difference is 2.5 of them"));
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

std::string Shown(bool bTerminal, const std::vector<HostEvent>& events) {
  std::ostringstream stream;
  {
    Progress progress(stream, bTerminal);
    for (const HostEvent& event : events) {
      progress.Show(event);
    }
  }
  return stream.str();
}

const std::vector<HostEvent> ZeroMeasurement = {
    Notification{0, 7, 0},   Notification{0, 7, 10},  Notification{0, 7, 20},         Notification{0, 7, 50},
    Notification{0, 7, 100}, Notification{0, 7, 100}, InstrumentError{0, 132, false}, Notification{0, 43, 1}};

TEST(Progress, WritesPlainLinesForQuarters) {
  EXPECT_THAT(
      Shown(false, ZeroMeasurement),
      testing::StartsWith("zero measurement: 10 %\nzero measurement: 50 %\nzero measurement: 100 %\nerror 132"));
}

TEST(Progress, RedrawsABarOnATerminal) {
  const std::string shown = Shown(true, ZeroMeasurement);
  EXPECT_THAT(shown, testing::StartsWith("\r[###...........................]  10 %  zero measurement\r["));
  EXPECT_THAT(shown, HasSubstr("100 %  zero measurement\nerror 132"));
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

TEST(FaultText, TakesKindCommandAndValues) {
  const auto parsed = common::ParseFault("late:a:2:delay=500");
  ASSERT_TRUE(std::holds_alternative<simulator::Fault>(parsed));
  const auto& fault = std::get<simulator::Fault>(parsed);
  EXPECT_EQ(fault.kind, simulator::FaultKind::Late);
  EXPECT_EQ(fault.letter, 'a');
  EXPECT_EQ(fault.nth, 2U);
  EXPECT_EQ(fault.delay, 500'000U);
  const auto any = common::ParseFault("lost:*:*:first=1:count=2");
  ASSERT_TRUE(std::holds_alternative<simulator::Fault>(any));
  EXPECT_EQ(std::get<simulator::Fault>(any).letter, 0);
  for (const char* text :
       {"", "late", "late:", "late:ab", "late:a:x", "late:a:1:delay=", "late:a:1:dealy=3", "fire:a"}) {
    EXPECT_TRUE(std::holds_alternative<std::string>(common::ParseFault(text))) << text;
  }
}

}  // namespace
}  // namespace host
