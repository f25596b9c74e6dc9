/// What an instrument can be asked for. All limits are part of their range; a value that is no number is in none.
#pragma once

#include "photometer/Records.h"

namespace photometer {

/// A wavelength that one of the instrument's lamps reaches, nm.
bool IsMeasurable(double dWavelength, const PhotometerParameters& params);

/// A boundary between the lamps, nm: both reach it.
bool IsSwitchingPoint(double dWavelength, const PhotometerParameters& params);

}  // namespace photometer
