/// Mean and spread of a list of values.
#pragma once

#include <vector>

namespace photometer {

/// Arithmetic mean; 0 of an empty list.
double Mean(const std::vector<double>& values);
/// Standard deviation of the whole population: the sum of squares is divided by the number of values. 0 of an empty
/// list.
double StandardDeviation(const std::vector<double>& values);

}  // namespace photometer
