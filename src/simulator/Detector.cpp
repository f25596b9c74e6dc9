#include "simulator/Detector.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace simulator {

namespace {

constexpr double HighGain = 16.0;
constexpr double ShotNoise = 0.02;       // counts of variance per count, normal gain
constexpr double ConverterNoise = 50.0;  // counts
constexpr double AmplifierNoise = 1.0;   // counts at normal gain
constexpr double DarkCurrent = 20.0;     // counts at normal gain, part of the dark level that the gain amplifies

double DarkCounts(double darkLevel, bool bHighGain) {
  return darkLevel + DarkCurrent * (Detector::GainFactor(bHighGain) - 1.0);
}

}  // namespace

double Detector::GainFactor(bool bHighGain) { return bHighGain ? HighGain : 1.0; }

double Detector::Dark(bool bHighGain) const { return DarkCounts(m_DarkLevel, bHighGain); }

double Detector::ReadingVariance(double counts, bool bHighGain, double noiseLevel) {
  const double gain = GainFactor(bHighGain);
  const double amplifier = AmplifierNoise * gain;
  const double electronic = ConverterNoise * ConverterNoise + amplifier * amplifier;
  return noiseLevel * noiseLevel * (ShotNoise * gain * counts + electronic) + 1.0 / 12.0;
}

std::uint32_t Detector::Read(double light, bool bHighGain, double noiseLevel) {
  double counts = light * GainFactor(bHighGain) + Dark(bHighGain);
  if (noiseLevel > 0.0) {
    const double variance = ReadingVariance(counts, bHighGain, noiseLevel) - 1.0 / 12.0;
    counts += std::sqrt(variance) * m_Random.Normal();
  }
  const double limited = std::clamp(counts, 0.0, static_cast<double>(FullScale));
  return static_cast<std::uint32_t>(limited + 0.5);
}

double AbsorbanceStandardDeviation(double sample, double reference, double blankSample, double blankReference,
                                   const AbsorbanceConditions& conditions) {
  const double dark = DarkCounts(conditions.darkLevel, conditions.bHighGain);
  const double darkVariance =
      Detector::ReadingVariance(dark, conditions.bHighGain, conditions.noiseLevel) / conditions.darkReadings;
  double sum = 0.0;
  for (const double counts : std::array{sample, reference, blankSample, blankReference}) {
    if (!(counts > 0.0)) return std::numeric_limits<double>::infinity();
    const double lightVariance = Detector::ReadingVariance(counts + dark, conditions.bHighGain, conditions.noiseLevel) /
                                 conditions.lightReadings;
    sum += (lightVariance + darkVariance) / (counts * counts);
  }
  return std::sqrt(sum) / std::numbers::ln10;
}

}  // namespace simulator
