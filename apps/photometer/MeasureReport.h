/// What a measurement gave, wavelength by wavelength, and the absorbances formed from it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "photometer/Records.h"

namespace host {

using photometer::DWORD;
using photometer::LONG;

/// Detector values, light minus dark, counts.
struct DetectorPair {
  double dSample = 0;
  double dReference = 0;
};

/// -log10((S/R) / (S0/R0)) of two pairs that are all above 0.
double Absorbance(const DetectorPair& value, const DetectorPair& zero);

/// What a simulated sample should give.
struct Expectation {
  double dAbsorbance = 0;
  /// Standard deviation of the mean over all readings that noise alone gives.
  double dSigma = 0;
};

struct MeasuredWavelength {
  double dWavelength = 0;
  /// Position of the monochromator, steps.
  DWORD dwPosition = 0;
  std::vector<DetectorPair> readings;
  /// Without a zero value there is no absorbance, and this is why.
  std::optional<DetectorPair> zero;
  std::string strWhyNot;
  std::optional<Expectation> expected;

  /// Mean over the readings.
  [[nodiscard]] DetectorPair Mean() const;
  /// Mean of the readings' absorbances; nothing without a zero value.
  [[nodiscard]] std::optional<double> MeanAbsorbance() const;
  /// Standard deviation of the readings' absorbances; nothing for fewer than two.
  [[nodiscard]] std::optional<double> Spread() const;
};

struct MeasureReport {
  std::vector<MeasuredWavelength> wavelengths;

  /// Takes what `OnResult` delivered: the readings of one wavelength.
  void Add(const photometer::MeasureValues& values);
  /// Greatest distance of an absorbance from what was expected, in standard deviations; nothing without expectations.
  [[nodiscard]] std::optional<double> LargestDeviation() const;
};

}  // namespace host
