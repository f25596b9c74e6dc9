#include <string>

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

}  // namespace
}  // namespace simulator
