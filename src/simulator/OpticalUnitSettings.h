/// What a model of the optical unit is made with, and what may be broken in it.
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "simulator/Monochromator.h"

namespace simulator {

/// Faults of the instrument itself, as opposed to those of its line. The unit still answers "ok".
struct InstrumentFaults {
  /// Share of a sound halogen lamp's light; 0: dead.
  double halogenLevel = 1.0;
  bool bDeuteriumLights = true;
  /// Share of the light that passes beside the filter of each wheel position, 0 to 1.
  std::array<double, 8> filterLeak = {};
  /// The filter that sits at each wheel position.
  std::array<std::uint8_t, 8> filterOrder = {0, 1, 2, 3, 4, 5, 6, 7};
  /// Stuck parts: what they stay at, whatever they are told. Shutter: true is closed.
  std::optional<bool> stuckShutter = {};
  std::optional<int> stuckMirror = {};
  std::optional<bool> stuckGain = {};
  /// Factor on the detectors' noise.
  double detectorNoise = 1.0;
  /// Steps that the monochromator has slipped, on top of the settings' offset; 12 are about 1 nm.
  int slippedSteps = 0;
};

struct OpticalUnitSettings {
  std::uint64_t seed = 1;
  /// False: as if its plug were pulled.
  bool bPowered = true;
  /// With deuterium lamp, mirror and the wheel that belongs to them.
  bool bUV = true;
  /// Sent before " ok" as the answer to "$v".
  std::string firmware = "KESTRA-UV 2.14";
  WavelengthPolynomial polynomial = {};
  /// Steps by which everything, the holmium peak too, appears above its position by the polynomial: the correction that
  /// a wavelength test must find.
  int positionOffset = 0;
  /// Share of the light that passes beside the sample.
  double strayLight = 1e-4;
  /// Factor on the noise of all channels; 0: none.
  double noiseLevel = 1.0;
  InstrumentFaults faults = {};
};

}  // namespace simulator
