/// The turbidity channel: a light source of 860 nm of its own and a detector at a right angle, with three powers and
/// two gains. It works without the photometer's lamps, and with the shutter closed.
///
/// A measurement is eight pairs of a dark and a light reading. The expected difference is
///
///   power factor · gain factor · (200 + 400 · NTU) counts
///
/// with power factors 1, 2.5 and 6 and gain factors 1 and 12; a reading ends at 24 bits, so that power 3 with high gain
/// is the low range (to about 580 NTU), power 1 with low gain the high range.
#pragma once

#include <string>

#include "simulator/Random.h"

namespace simulator {

class TurbidityChannel {
 public:
  explicit TurbidityChannel(std::uint64_t seed) : m_Random(seed) {}

  [[nodiscard]] int Power() const { return m_iPower; }
  [[nodiscard]] bool HighGain() const { return m_bHighGain; }
  /// Power 1 to 3.
  void SetPower(int iPower) { m_iPower = iPower; }
  void SetHighGain(bool bHighGain) { m_bHighGain = bHighGain; }

  /// Light minus dark, counts, before the limit of 24 bits.
  [[nodiscard]] double ExpectedDifference(double ntu) const;
  /// The eight pairs: in each twelve bytes dark, temperature, light, temperature; 24 bits each.
  std::string Measure(double ntu, double noiseLevel);

 private:
  std::uint32_t Reading(double counts, double noiseLevel);

  Random m_Random;
  int m_iPower = 1;
  bool m_bHighGain = false;
};

}  // namespace simulator
