/// Whether measured absorbances are those of the sample: at most 1 % of the points beyond three standard deviations,
/// none beyond five, no bias. The deviations come from the light that is expected, never from the light that was
/// measured: a fault that makes a reading small would excuse itself by its own noise.
#pragma once

#include <cmath>
#include <string>
#include <vector>

#include "simulator/Detector.h"
#include "support/World.h"

namespace photometer::tests {

/// What a sound instrument shows at least without a sample, counts.
inline constexpr double SOUND_LIGHT = 100'000.0;
/// Below this wavelength the default records ask for the high gain, nm.
inline constexpr double HIGH_GAIN_BELOW = 375.0;

class AbsorbanceCriterion {
 public:
  void Add(double dDeviation, double dSigma) {
    const double dScore = dDeviation / dSigma;
    ++m_nPoints;
    // A reading without light has no absorbance at all: a NaN is beyond everything.
    m_nBeyondThree += std::fabs(dScore) <= 3.0 ? 0 : 1;
    m_nBeyondFive += std::fabs(dScore) <= 5.0 ? 0 : 1;
    m_dSum += dScore;
  }
  [[nodiscard]] bool Holds() const { return HoldsButForBias() && std::fabs(m_dSum) < 3.0 * std::sqrt(m_nPoints); }
  /// For points that share an error, such as a dark value: they may have a bias.
  [[nodiscard]] bool HoldsButForBias() const {
    return m_nPoints > 0 && m_nBeyondThree * 100 <= m_nPoints && m_nBeyondFive == 0;
  }
  [[nodiscard]] int Points() const { return m_nPoints; }
  /// Mean deviation, in standard deviations.
  [[nodiscard]] double Bias() const { return m_dSum / m_nPoints; }
  /// For a few points, of which one in a thousand may well lie beyond three: none beyond five.
  [[nodiscard]] bool HoldsForFew() const { return m_nPoints > 0 && m_nBeyondFive == 0; }
  [[nodiscard]] std::string Text() const {
    return std::to_string(m_nPoints) + " points, " + std::to_string(m_nBeyondThree) + " beyond 3, " +
           std::to_string(m_nBeyondFive) + " beyond 5, mean " + std::to_string(Bias());
  }

 private:
  int m_nPoints = 0;
  int m_nBeyondThree = 0;
  int m_nBeyondFive = 0;
  double m_dSum = 0.0;
};

/// The absorbance of a value against a blank, which is a value too, or a zero value.
template <class Blank>
double Absorbance(const MeasureValue& value, const Blank& blank) {
  return -std::log10(value.dValue / value.dValueRef * blank.dValueRef / blank.dValue);
}

/// Adds the absorbance of a value, of so many readings, against that at the wavelength at which it was taken.
template <class Blank>
void AddAbsorbance(const World& world, const MeasureValue& value, const Blank& blank, double dReadings,
                   AbsorbanceCriterion* pCriterion) {
  const simulator::OpticalUnitSettings& settings = world.unit.Settings();
  const double dTrue = settings.polynomial.At(static_cast<double>(value.dwPosition) - settings.positionOffset);
  EXPECT_NEAR(dTrue, value.dWavelength, 0.05) << "the nearest position is less than half a step away";
  const double dExpected = world.unit.ApparentAbsorbance(dTrue, world.board.Now());
  const simulator::AbsorbanceConditions conditions{.bHighGain = value.dWavelength < HIGH_GAIN_BELOW,
                                                   .lightReadings = dReadings};
  pCriterion->Add(Absorbance(value, blank) - dExpected,
                  simulator::AbsorbanceStandardDeviation(blank.dValue * std::pow(10.0, -dExpected), blank.dValueRef,
                                                         blank.dValue, blank.dValueRef, conditions));
}

/// Adds the measured absorbances (one value a wavelength) against zero values of the same wavelengths.
inline void AddAbsorbances(const World& world, const std::vector<WavelengthCalibrationEntry>& zeros,
                           const MeasureValues& values, AbsorbanceCriterion* pCriterion) {
  for (std::size_t i = 0; i < zeros.size(); ++i) {
    if (i >= values.size()) {
      pCriterion->Add(std::nan(""), 1.0);
      continue;
    }
    EXPECT_EQ(values[i].dWavelength, zeros[i].dWavelength);
    EXPECT_GT(zeros[i].dValue, SOUND_LIGHT);
    EXPECT_GT(zeros[i].dValueRef, SOUND_LIGHT);
    AddAbsorbance(world, values[i], zeros[i], 3.0, pCriterion);
  }
}

inline std::vector<double> WavelengthsOf(const std::vector<WavelengthCalibrationEntry>& zeros) {
  std::vector<double> wavelengths;
  for (const WavelengthCalibrationEntry& zero : zeros) {
    wavelengths.push_back(zero.dWavelength);
  }
  return wavelengths;
}

/// Measures `sample` at the wavelengths of the zero values that the host was given, and takes it out again. True: the
/// absorbances are right.
inline bool MeasuresRight(World& world, Device& device, const simulator::Sample& sample) {
  const std::vector<WavelengthCalibrationEntry> zeros = world.sink.References();
  world.unit.SetSample(sample, world.board.Now());
  const MeasureRequest request = MeasureAt(WavelengthsOf(zeros));
  const std::size_t nBefore = world.sink.Results().size();
  const bool bStarted = device->StartMeasure(&request) == S_OK && device.WaitUntilNotBusy();
  MeasureValues values = world.sink.Results();
  values.erase(values.begin(), values.begin() + static_cast<std::ptrdiff_t>(nBefore));
  AbsorbanceCriterion criterion;
  AddAbsorbances(world, zeros, values, &criterion);
  world.unit.SetSample(simulator::Sample::Blank(), world.board.Now());
  return bStarted && criterion.HoldsForFew();
}

}  // namespace photometer::tests
