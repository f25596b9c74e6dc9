#include <set>

#include <gtest/gtest.h>

#include "simulator/FaultPlan.h"

namespace simulator {
namespace {

TEST(FaultPlan, BefallsTheCommandsThatItNames) {
  FaultPlan plan;
  plan.Add({.kind = FaultKind::Error, .letter = 'F', .nth = 2});
  plan.Add({.kind = FaultKind::Late, .nth = 3});
  plan.Add({.kind = FaultKind::Lost, .letter = 'a'});
  std::string strFaults;
  for (const char letter : {'F', 'a', 'F', 'F', 'a'}) strFaults += std::to_string(plan.Take(letter).size());
  EXPECT_EQ(strFaults, "01201");
}

TEST(FaultPlan, IsDrawnFromASeed) {
  std::set<FaultKind> kinds;
  for (std::uint64_t seed = 0; seed < 50; ++seed) {
    const FaultPlan plan = FaultPlan::FromSeed(seed, 4, 100);
    const FaultPlan again = FaultPlan::FromSeed(seed, 4, 100);
    ASSERT_EQ(plan.Faults().size(), 4u);
    for (std::size_t i = 0; i < 4; ++i) {
      const Fault& fault = plan.Faults()[i];
      EXPECT_EQ(fault.bytes, again.Faults()[i].bytes);
      EXPECT_TRUE(fault.nth >= 1 && fault.nth <= 100);
      kinds.insert(fault.kind);
    }
  }
  EXPECT_EQ(kinds.size(), 13u) << "every kind is drawn";
}

}  // namespace
}  // namespace simulator
