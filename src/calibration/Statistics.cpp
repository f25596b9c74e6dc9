#include "calibration/Statistics.h"

#include <cmath>

namespace photometer {

double Mean(const std::vector<double>& values) {
  double dSum = 0.0;
  for (const double d : values) {
    dSum += d;
  }
  return values.empty() ? 0.0 : dSum / static_cast<double>(values.size());
}

double StandardDeviation(const std::vector<double>& values) {
  const double dMean = Mean(values);
  double dSum = 0.0;
  for (const double d : values) {
    dSum += (d - dMean) * (d - dMean);
  }
  return values.empty() ? 0.0 : std::sqrt(dSum / static_cast<double>(values.size()));
}

}  // namespace photometer
