/// The records of a sound instrument with deuterium lamp.
#pragma once

#include "photometer/Records.h"
#include "photometer/Requests.h"

namespace photometer::tests {

PhotometerParameters DefaultParameters();
CalibrationData DefaultCalibration();
/// One reading at each of the wavelengths, nm.
MeasureRequest MeasureAt(const std::vector<double>& wavelengths);

}  // namespace photometer::tests
