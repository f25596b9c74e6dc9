// Seeds, findings and records: what is found once can be made small and repeated.

#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "Exploration.h"
#include "Isolation.h"
#include "Record.h"
#include "Scenarios.h"
#include "Shrinker.h"

namespace explorer {
namespace {

RunOptions ForSeed(std::uint64_t seed) {
  RunOptions options;
  options.seed = seed;
  options.bRecordDecisions = true;
  return options;
}

TEST(Exploration, ASeedGivesOneRunInEveryProcess) {
  for (const Scheduling scheduling : {Scheduling::Random, Scheduling::Priority}) {
    for (std::uint64_t seed = 1; seed <= 6; ++seed) {
      const Plan plan = DrawPlan(seed, {});
      RunOptions options = ForSeed(seed);
      options.scheduling = scheduling;
      const Outcome first = RunIsolated(plan, options);
      options.bTrace = true;
      const Outcome second = RunIsolated(plan, options);
      EXPECT_EQ(first.nHash, second.nHash) << "seed " << seed;
      options.decisions = first.decisions;
      EXPECT_EQ(RunIsolated(plan, options).nPoints, first.nPoints) << "by its decisions, seed " << seed;
    }
  }
  EXPECT_NE(RunIsolated(DrawPlan(1, {}), ForSeed(1)).nHash, RunIsolated(DrawPlan(1, {}), ForSeed(2)).nHash);
}

TEST(Exploration, OneSubjectOfAPlanDoesNotDisturbTheOthers) {
  const Plan with = DrawPlan(11, {.bFaults = true});
  const Plan without = DrawPlan(11, {.bFaults = false});
  EXPECT_FALSE(with.faults.empty());
  EXPECT_TRUE(without.faults.empty());
  EXPECT_EQ(with.profile, without.profile);
  EXPECT_EQ(ToText(Plan{with.profile, with.steps, {}}), ToText(Plan{without.profile, without.steps, {}}));
}

/// Among much else the host lights the lamp itself, behind the library's back and beside a series of readings.
Plan PlantedPlan() {
  Plan plan = *ProcedurePlan("cancelled-series");
  plan.faults = {{"key-a", {900}, {}}, {"unit-answer", {0, 5, 81, 3, 2000, 5, 0}, {}}};
  for (const char* line :
       {"step second 0 status", "step third 40 port-settings 9600 8 0", "step callback 3 cuvette-size",
        "step second 14000 write-optical :2468310D", "step second 20 get-calibration"}) {
    std::string wrong;
    EXPECT_TRUE(TakePlanLine(line, &plan, &wrong)) << wrong;
  }
  return plan;
}

TEST(Exploration, APlantedFaultIsFoundShrunkAndReplayed) {
  Record record{3, {}, PlantedPlan(), {}};
  const Outcome outcome = RunIsolated(record.plan, ForSeed(3));
  ASSERT_FALSE(outcome.violations.empty());
  EXPECT_EQ(outcome.violations.front().property, "halogen lamp off") << outcome.violations.front().text;
  record.violation = outcome.violations.front();
  record.decisions = outcome.decisions;
  ASSERT_EQ(FirstBroken(record), "halogen lamp off") << "by its decisions alone";

  const Record small = Shrinker(FirstBroken, 300).Shrink(record);
  EXPECT_FALSE(small.plan.bRecovery);
  EXPECT_TRUE(small.plan.faults.empty());
  EXPECT_LE(small.plan.steps.size(), 5U);
  EXPECT_LT(small.decisions.size(), record.decisions.size());

  const std::string path = testing::TempDir() + "explorer-record.txt";
  ASSERT_TRUE(WriteRecord(small, path));
  std::string wrong;
  const std::optional<Record> read = ReadRecord(path, &wrong);
  std::remove(path.c_str());
  ASSERT_TRUE(read) << wrong;
  EXPECT_EQ(ToText(*read), ToText(small));
  EXPECT_EQ(FirstBroken(*read), "halogen lamp off");
}

TEST(Record, SaysWhatIsWrongWithIt) {
  const std::string first = "photometer-explore record 1\n";
  struct {
    std::string text;
    const char* wrong;
  } const cases[] = {
      {"", "it is empty"},
      {first + "step host 0 dance\n", "line 2: a step's time"},
      {first + "fault earthquake 0\n", "line 2: a fault has"},
      {first + "profile colour 1\n", "line 2: a profile's field"},
      {first + "decision jump 3@17 2\n", "line 2: \"decision"},
      {first + "weather 1\n", "line 2: \"weather\""},
  };
  for (const auto& c : cases) {
    std::string wrong;
    EXPECT_FALSE(ParseRecord(c.text, &wrong)) << c.text;
    EXPECT_TRUE(wrong.starts_with(c.wrong)) << wrong;
  }
}

}  // namespace
}  // namespace explorer
