#include <limits>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "settings/DecimalText.h"

namespace photometer {
namespace {

TEST(DecimalTextTest, RealsBeyondTheRangeBecomeTheNearestThatFits) {
  constexpr double Largest = std::numeric_limits<double>::max();
  const std::pair<std::string, double> cases[] = {
      {"1e400", Largest},
      {"-1e400", -Largest},
      {"1e99999999999999999999", Largest},
      {"1" + std::string(400, '0'), Largest},
      {"0.0001e313", Largest},
      {"1e-99999999999999999999", 0},
      {"0." + std::string(400, '0') + "1", 0},
      {"1000e-400", 0},
      {"4.9e-324", std::numeric_limits<double>::denorm_min()},
      {"1e", 1},
      {".", 0},
      {"+-1", 0},
      {"+1.5.2", 1.5},
  };
  for (const auto& [text, dExpected] : cases) {
    EXPECT_EQ(ParseReal(text), dExpected) << text;
  }
}

TEST(DecimalTextTest, FixedTextHoldsEveryDouble) {
  EXPECT_EQ(FormatFixed(-std::numeric_limits<double>::max(), 8).size(), 319U);
  EXPECT_EQ(FormatFixed(0.125, 2), "0.12");
}

}  // namespace
}  // namespace photometer
