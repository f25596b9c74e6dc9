#include <gtest/gtest.h>

#include "simulator/HolmiumFilter.h"

namespace simulator {
namespace {

TEST(HolmiumFilter, HasItsPeaksWhereTheReferencesAre) {
  for (const double peak : {360.7, 418.4, 445.0, 453.8, 460.0, 484.0, 537.0}) {
    for (const double aside : {-4.0, -0.7, 0.7, 3.0}) {
      EXPECT_LT(HolmiumFilter::Transmission(peak), HolmiumFilter::Transmission(peak + aside)) << peak << aside;
    }
  }
}

}  // namespace
}  // namespace simulator
