/// A detector channel: light becomes counts of a 24-bit converter, with dark level, noise and saturation.
///
/// The variance of one reading, in counts², is
///
///   reading(N) = level² · (q · g · (N + d) + (c² + (a · g)²)) + 1/12
///
/// with N the counts of light, d the dark level, g the gain (1 or 16), q = 0.02 counts (shot noise), c = 50 counts
/// (converter), a = 1 count (amplifier), and 1/12 for the rounding. `level` is the noise level of the settings.
#pragma once

#include <cstdint>

#include "simulator/Random.h"

namespace simulator {

class Detector {
 public:
  static constexpr std::uint32_t FullScale = 0xFFFFFF;

  /// `darkLevel`: counts without light at normal gain.
  Detector(std::uint64_t seed, double darkLevel) : m_Random(seed), m_DarkLevel(darkLevel) {}

  /// Converts light, in counts at normal gain, into a reading.
  std::uint32_t Read(double light, bool bHighGain, double noiseLevel);

  /// Counts without light.
  [[nodiscard]] double Dark(bool bHighGain) const;
  /// Factor between the gains: 16.
  [[nodiscard]] static double GainFactor(bool bHighGain);
  /// Variance of one reading of `counts` (dark level included), counts².
  [[nodiscard]] static double ReadingVariance(double counts, bool bHighGain, double noiseLevel);

 private:
  Random m_Random;
  double m_DarkLevel;
};

/// How an absorbance was measured, for its standard deviation.
struct AbsorbanceConditions {
  bool bHighGain = false;
  double noiseLevel = 1.0;
  /// Readings that were averaged for each light value and for each dark value.
  double lightReadings = 3.0;
  double darkReadings = 3.0;
  /// Counts without light, normal gain: the mean of both channels serves.
  double darkLevel = 1300.0;
};

/// Standard deviation of A = -log10((S / R) / (S0 / R0)), the four being expected values in counts after the dark value
/// was taken off:
///
///   sigma(A) = sqrt(v(S)/S² + v(R)/R² + v(S0)/S0² + v(R0)/R0²) / ln 10
///   v(X)     = reading(X) / lightReadings + reading(0) / darkReadings
///
/// Infinite when one of the four is not positive. Use expected values: S = S0 · 10^-A with the blank's S0.
double AbsorbanceStandardDeviation(double sample, double reference, double blankSample, double blankReference,
                                   const AbsorbanceConditions& conditions = {});

}  // namespace simulator
