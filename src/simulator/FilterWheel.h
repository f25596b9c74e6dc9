/// The filter wheel of eight positions in the sample beam, behind the place where the reference beam branches off.
///
/// The order-sorting filters let pass the range in which they are used and hold back light of half the wavelength and
/// stray light; outside its range a filter passes a hundred-thousandth.
///
/// | position | with UV path | passes, nm | without UV path | passes, nm |
/// |---|---|---|---|---|
/// | 0 | open | all | open | all |
/// | 1 | UV pass | below 386 | UV pass | below 386 |
/// | 2 | blue-green | 366 to 563 | blue-green | 366 to 563 |
/// | 3 | long pass | above 538 | green | 440 to 685 |
/// | 4 | blocked | none | long pass | above 538 |
/// | 5 | blocked | none | holmium oxide | all |
/// | 6 | holmium oxide | all | blocked | none |
/// | 7 | blocked | none | blocked | none |
#pragma once

#include <array>
#include <cstdint>

#include "simulator/SerialDevice.h"

namespace simulator {

class FilterWheel {
 public:
  static constexpr int Positions = 8;

  explicit FilterWheel(bool bUV) : m_bUV(bUV) {}

  /// Which filter sits at each position, and the share of the light that passes beside it.
  void SetFaults(const std::array<std::uint8_t, Positions>& order, const std::array<double, Positions>& leak);
  [[nodiscard]] int Position() const { return m_iPosition; }
  void PlaceAt(int iPosition) { m_iPosition = iPosition; }
  /// Duration of a turn the shorter way round, µs: 150 ms a position.
  [[nodiscard]] Time TurnTime(int iPosition) const;
  /// Transmission at the present position for a wavelength in nm, 0 to 1.
  [[nodiscard]] double Transmission(double wavelength) const;

 private:
  [[nodiscard]] double FilterTransmission(std::size_t nFilter, double wavelength) const;

  bool m_bUV;
  int m_iPosition = 0;
  std::array<std::uint8_t, Positions> m_Order = {0, 1, 2, 3, 4, 5, 6, 7};
  std::array<double, Positions> m_Leak = {};
};

}  // namespace simulator
