/// The way of the light: lamps, mirror, monochromator band, shutter, and the two beams.
///
///   sample    = 0.92 · b · (I(w) · F(w) · (T(w) + s) + I2 · F(w/2) · T(w/2))
///   reference = 0.85 · b · (I(w) · (1 + s) + I2)
///
/// with w the wavelength, b the lamp's brightness, I its spectrum times the response of grating and detector in counts
/// at normal gain, I2 = 0.2 · B(w) · I(w/2) the light of second order, of which a baffle lets pass B, all up to 930 nm
/// and none from 1060 nm on, F the filter's and T the sample's transmission, and s the share of stray light. The
/// reference beam branches off before the filter wheel and does not pass the cuvette.
#pragma once

#include "simulator/FilterWheel.h"
#include "simulator/Lamp.h"
#include "simulator/OpticalUnitSettings.h"
#include "simulator/Sample.h"

namespace simulator {

/// Light on the two detectors, in counts at normal gain.
struct Light {
  double sample = 0.0;
  double reference = 0.0;
};

class LightPath {
 public:
  /// Mirror positions.
  static constexpr int Parked = 0;
  static constexpr int HalogenPath = 1;
  static constexpr int DeuteriumPath = 2;

  explicit LightPath(const OpticalUnitSettings& settings);

  void SetFaults(const InstrumentFaults& faults);
  /// Lamps off, mirror parked, shutter open, filter 0; the faults stay.
  void Reset(Time now);

  void SwitchHalogen(Time now, int iPower);
  void SwitchDeuterium(Time now, bool bOn) { m_Deuterium.Switch(now, bOn); }
  void SetMirror(int iMirror);
  void SetShutter(bool bClosed) { m_bShutterClosed = bClosed; }
  void SetFilter(int iPosition);

  [[nodiscard]] const HalogenLamp& Halogen() const { return m_Halogen; }
  [[nodiscard]] const DeuteriumLamp& Deuterium() const { return m_Deuterium; }
  [[nodiscard]] const FilterWheel& Filters() const { return m_Filters; }
  [[nodiscard]] int Mirror() const { return m_iMirror; }
  [[nodiscard]] bool ShutterClosed() const { return m_bShutterClosed; }

  /// The light at a wavelength in nm.
  Light At(Time now, double wavelength, const Sample& sample);

 private:
  /// What does not change while optics and wavelength stay.
  struct Beam {
    double wavelength = -1.0;
    double first = 0.0;   ///< light of the wavelength itself
    double second = 0.0;  ///< of half the wavelength
    double firstFiltered = 0.0;
    double secondFiltered = 0.0;
  };

  [[nodiscard]] int LampPath() const;
  [[nodiscard]] double Intensity(int iPath, double wavelength) const;
  [[nodiscard]] Beam MakeBeam(int iPath, double wavelength) const;
  void ForgetBeam() { m_Beam.wavelength = -1.0; }

  bool m_bUV;
  double m_StrayLight;
  InstrumentFaults m_Faults;
  HalogenLamp m_Halogen;
  DeuteriumLamp m_Deuterium;
  FilterWheel m_Filters;
  int m_iMirror = Parked;
  bool m_bShutterClosed = false;
  Beam m_Beam;
};

}  // namespace simulator
