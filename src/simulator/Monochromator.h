/// The monochromator: a stepper at whole-numbered positions, its speed, and the wavelength that it lets through.
///
/// The step rate follows from the speed setting, a divider: a step takes a quarter of a microsecond times the setting,
/// and never less than the 150 µs that the mechanics need. Setting 50 is thus the fast one.
#pragma once

#include "simulator/SerialDevice.h"

namespace simulator {

/// Wavelength of a true position p in millionths of a nanometre: ((cubic · p + quadratic) · p + linear) · p + constant.
struct WavelengthPolynomial {
  double cubic = -0.00004438;
  double quadratic = -0.18985745;
  double linear = 89325.07932532;
  double constant = -1771912.20088685;

  /// nm
  [[nodiscard]] double At(double position) const;
};

class Monochromator {
 public:
  static constexpr int FirstPosition = -1000;
  static constexpr int LastPosition = 15000;

  Monochromator(const WavelengthPolynomial& polynomial, int iOffset) : m_Polynomial(polynomial), m_iOffset(iOffset) {}

  /// Position by the unit's own count.
  [[nodiscard]] int Position() const { return m_iPosition; }
  void PlaceAt(int iPosition) { m_iPosition = iPosition; }
  /// Steps by which everything appears above the position where the polynomial has it.
  void SetOffset(int iOffset) { m_iOffset = iOffset; }
  /// Where the grating stands in truth: position minus offset.
  [[nodiscard]] int TruePosition() const { return m_iPosition - m_iOffset; }
  /// Wavelength that comes through, nm.
  [[nodiscard]] double Wavelength() const { return m_Polynomial.At(TruePosition()); }

  [[nodiscard]] int Speed() const { return m_iSpeed; }
  void SetSpeed(int iSpeed) { m_iSpeed = iSpeed; }
  /// µs
  [[nodiscard]] Time StepTime() const;
  /// Duration of a move at the present speed, µs.
  [[nodiscard]] Time MoveTime(int iPosition) const;
  /// Duration of the search for the home switch, µs.
  [[nodiscard]] Time HomeTime() const;

 private:
  WavelengthPolynomial m_Polynomial;
  int m_iOffset;
  int m_iPosition = 500;  // somewhere: the count means nothing before the home position was found
  int m_iSpeed = 50;
};

}  // namespace simulator
