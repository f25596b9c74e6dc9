/// Readings with the shutter closed (dark) and open (light), as all procedures take them.
#pragma once

#include "optics/Detectors.h"
#include "optics/OpticalUnit.h"

namespace photometer {

enum class Shutter : BOOL { Open = FALSE, Closed = TRUE };

/// Sets the shutter and takes a reading of both channels. 0, or the number of the command that failed.
DWORD ReadWithShutter(OpticalUnit& unit, Detectors& detectors, Shutter shutter, Reading* pReading);

/// A dark and a light reading; what is left without the dark one. 0, or the number of the command that failed.
DWORD ReadWithoutDark(OpticalUnit& unit, Detectors& detectors, Reading* pReading);

/// Light minus dark of both channels.
Reading WithoutDark(const Reading& light, const Reading& dark);
/// Both channels are greater than 0.
bool IsValid(const Reading& reading);

}  // namespace photometer
