#include <cmath>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "Blank.h"
#include "References.h"
#include "ResultTable.h"

namespace host {
namespace {

using testing::HasSubstr;

const std::string Csv =
    "# schema: photometer-result 1\r\n# kind: measure\r\n# outcome: finished\r\n# time: 2026-11-24T14:25:21\r\n"
    "# setting readings: 2\r\n"
    "wavelength_nm,position,reading,sample,reference,absorbance,note\r\n"
    "436.5,5023,1,100.5,2000,,\"a, b\"\r\n436.5,5023,2,99.5,2002,,\r\n525,6000,1,0,5,,\r\n";

TEST(Blank, AveragesReadingsAndFindsTheNearestWavelength) {
  const auto parsed = Blank::Parse("b.csv", Csv);
  const auto& blank = std::get<Blank>(parsed);
  EXPECT_EQ(blank.Kind(), "measure");
  EXPECT_EQ(blank.Setting("readings"), "2");
  for (const double dWavelength : {436.5, 436.47, 436.53}) {
    ASSERT_TRUE(blank.At(dWavelength)) << dWavelength;
    EXPECT_EQ(blank.At(dWavelength)->dSample, 100);
    EXPECT_EQ(blank.At(dWavelength)->dReference, 2001);
  }
  EXPECT_FALSE(blank.At(436.45));
  EXPECT_FALSE(blank.At(900));
  EXPECT_FALSE(blank.At(525)) << "there was no light";
}

/// A header that may serve, with rows of a scan.
ResultTable Example() {
  ResultTable table;
  table.header.strKind = "scan";
  table.header.strOutcome = OutcomeFinished;
  table.header.settings = {{"from", "340"}};
  table.columns = {{"wavelength_nm", "nm", 2}, {"sample", "sample", 3}, {"reference", "reference", 3}};
  table.rows = {{340.0, 10.125, 20.25}, {340.08, 11.0, 22.0}};
  return table;
}

TEST(Blank, RefusesWhatCannotServe) {
  ResultTable cancelled = Example();
  cancelled.header.strOutcome = "cancelled";
  ResultTable empty = Example();
  empty.rows.clear();
  std::string damaged = FormatTable(Example(), OutputFormat::Csv);
  damaged.replace(damaged.rfind("11.000"), 2, "1x");
  std::string future = FormatTable(Example(), OutputFormat::Json);
  future.replace(future.find("\"version\": 1"), 12, "\"version\": 2");
  const struct {
    std::string contents;
    std::string part;
  } cases[] = {
      {FormatTable(cancelled, OutputFormat::Csv), "did not finish (\"cancelled\")"},
      {FormatTable(empty, OutputFormat::Json), "holds no readings"},
      {FormatTable(Example(), OutputFormat::Table), "its schema is \"\""},
      {damaged, "sample or reference is missing or no number"},
      {future, "photometer-result 2"},
      {FormatTable(Example(), OutputFormat::Json).substr(0, 300), "cannot serve as blank"},
      {"{\"schema\": 7}", "cannot serve as blank"},
      {std::string(1000, '\0'), "its schema"},
  };
  for (const auto& one : cases) {
    const auto parsed = Blank::Parse("b.csv", one.contents);
    ASSERT_TRUE(std::holds_alternative<std::string>(parsed)) << one.part;
    EXPECT_THAT(std::get<std::string>(parsed), testing::AllOf(HasSubstr("b.csv"), HasSubstr(one.part)));
  }
}

TEST(References, FormNoAbsorbanceWithoutLightOrReference) {
  EXPECT_FALSE(AbsorbanceOf({100, 200}, std::nullopt));
  EXPECT_FALSE(AbsorbanceOf({1, 200}, DetectorPair{10, 20}));
  EXPECT_FALSE(AbsorbanceOf({100, 1}, DetectorPair{10, 20}));
  EXPECT_DOUBLE_EQ(*AbsorbanceOf({10, 200}, DetectorPair{10, 20}), 1.0);
}

}  // namespace
}  // namespace host
