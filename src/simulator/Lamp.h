/// The two lamps: what they radiate, and how they warm up.
///
/// The spectrum of a lamp is constant; its brightness is a factor that rises from 0 after it was lit. Both light paths
/// see the same lamp, so brightness cancels in the ratio of the two channels.
#pragma once

#include "simulator/SerialDevice.h"

namespace simulator {

/// A filament of 2900 K, of 3100 K at high power.
class HalogenLamp {
 public:
  /// `level`: share of the light of a sound lamp, 0 for a dead one.
  explicit HalogenLamp(double level = 1.0) : m_Level(level) {}

  void SetLevel(double level) { m_Level = level; }
  /// Power 0 (off), 1 or 2 (high).
  void Switch(Time now, int iPower);
  [[nodiscard]] int Power() const { return m_iPower; }
  /// Spectral power at a wavelength in nm, 1 at 900 nm with normal power.
  [[nodiscard]] double Spectrum(double wavelength) const;
  [[nodiscard]] double Brightness(Time now) const;

 private:
  double m_Level;
  int m_iPower = 0;
  Time m_LitAt = 0;
};

/// A continuum that is strongest near 225 nm, weak above 350 nm, with the two hydrogen lines in the visible.
class DeuteriumLamp {
 public:
  /// `bLights`: false when the arc does not strike.
  explicit DeuteriumLamp(bool bLights = true) : m_bLights(bLights) {}

  void SetLights(bool bLights) { m_bLights = bLights; }
  void Switch(Time now, bool bOn);
  [[nodiscard]] bool IsOn() const { return m_bOn; }
  /// Spectral power at a wavelength in nm, 1 at its maximum.
  [[nodiscard]] static double Spectrum(double wavelength);
  [[nodiscard]] double Brightness(Time now) const;

 private:
  bool m_bLights;
  bool m_bOn = false;
  Time m_LitAt = 0;
};

}  // namespace simulator
