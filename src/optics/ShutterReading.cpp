#include "optics/ShutterReading.h"

#include "optics/InOrder.h"

namespace photometer {

DWORD ReadWithShutter(OpticalUnit& unit, Detectors& detectors, Shutter shutter, Reading* pReading) {
  return InOrder([&] { return unit.SetShutter(static_cast<BOOL>(shutter)); },
                 [&] { return detectors.GetADValue(&pReading->dSample, &pReading->dReference); });
}

DWORD ReadWithoutDark(OpticalUnit& unit, Detectors& detectors, Reading* pReading) {
  Reading dark;
  Reading light;
  const DWORD dwResult = InOrder([&] { return ReadWithShutter(unit, detectors, Shutter::Closed, &dark); },
                                 [&] { return ReadWithShutter(unit, detectors, Shutter::Open, &light); });
  *pReading = WithoutDark(light, dark);
  return dwResult;
}

Reading WithoutDark(const Reading& light, const Reading& dark) {
  return {light.dSample - dark.dSample, light.dReference - dark.dReference};
}

bool IsValid(const Reading& reading) { return reading.dSample > 0.0 && reading.dReference > 0.0; }

}  // namespace photometer
