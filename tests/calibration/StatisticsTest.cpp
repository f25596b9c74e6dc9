#include <vector>

#include <gtest/gtest.h>

#include "calibration/Statistics.h"

namespace photometer::tests {
namespace {

TEST(Statistics, MeanAndStandardDeviation) {
  struct {
    std::vector<double> values;
    double dMean;
    double dDeviation;
  } const cases[] = {
      {{}, 0.0, 0.0},
      {{-3.5}, -3.5, 0.0},
      {{1.0, 3.0}, 2.0, 1.0},
      {{2.0, 4.0, 4.0, 4.0, 5.0, 5.0, 7.0, 9.0}, 5.0, 2.0},
      {{0.100, 0.101, 0.102, 0.103, 0.104, 0.105, 0.106, 0.107, 0.108, 0.109}, 0.1045, 0.0028722813232690143},
  };
  for (const auto& c : cases) {
    EXPECT_NEAR(Mean(c.values), c.dMean, 1e-12);
    EXPECT_NEAR(StandardDeviation(c.values), c.dDeviation, 1e-12);
  }
}

}  // namespace
}  // namespace photometer::tests
