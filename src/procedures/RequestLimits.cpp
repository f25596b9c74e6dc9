#include "procedures/RequestLimits.h"

namespace photometer {

bool IsMeasurable(double dWavelength, const PhotometerParameters& params) {
  const double dLowest = params.bUV ? params.UVMin : params.HalogenMin;
  return dWavelength >= dLowest && dWavelength <= params.HalogenMax;
}

bool IsSwitchingPoint(double dWavelength, const PhotometerParameters& params) {
  return dWavelength >= params.HalogenMin && dWavelength <= params.UVMax;
}

}  // namespace photometer
