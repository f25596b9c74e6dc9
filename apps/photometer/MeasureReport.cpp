#include "MeasureReport.h"

#include <algorithm>
#include <cmath>

namespace host {

double Absorbance(const DetectorPair& value, const DetectorPair& zero) {
  return -std::log10((value.dSample / value.dReference) / (zero.dSample / zero.dReference));
}

DetectorPair MeasuredWavelength::Mean() const {
  DetectorPair mean;
  for (const DetectorPair& reading : readings) {
    mean.dSample += reading.dSample / static_cast<double>(readings.size());
    mean.dReference += reading.dReference / static_cast<double>(readings.size());
  }
  return mean;
}

std::optional<double> MeasuredWavelength::MeanAbsorbance() const {
  if (!zero || readings.empty()) {
    return std::nullopt;
  }
  double dSum = 0;
  for (const DetectorPair& reading : readings) {
    dSum += Absorbance(reading, *zero);
  }
  return dSum / static_cast<double>(readings.size());
}

std::optional<double> MeasuredWavelength::Spread() const {
  const std::optional<double> mean = MeanAbsorbance();
  if (!mean || readings.size() < 2) {
    return std::nullopt;
  }
  double dSquares = 0;
  for (const DetectorPair& reading : readings) {
    const double dDistance = Absorbance(reading, *zero) - *mean;
    dSquares += dDistance * dDistance;
  }
  return std::sqrt(dSquares / static_cast<double>(readings.size() - 1));
}

void MeasureReport::Add(const photometer::MeasureValues& values) {
  if (values.empty()) {
    return;
  }
  MeasuredWavelength measured;
  measured.dWavelength = values.front().dWavelength;
  measured.dwPosition = values.front().dwPosition;
  for (const photometer::MeasureValue& value : values) {
    measured.readings.push_back({value.dValue, value.dValueRef});
  }
  wavelengths.push_back(std::move(measured));
}

std::optional<double> MeasureReport::LargestDeviation() const {
  std::optional<double> largest;
  for (const MeasuredWavelength& measured : wavelengths) {
    const std::optional<double> absorbance = measured.MeanAbsorbance();
    if (absorbance && measured.expected) {
      const double dDeviation = std::abs(*absorbance - measured.expected->dAbsorbance) / measured.expected->dSigma;
      largest = std::max(largest.value_or(0), dDeviation);
    }
  }
  return largest;
}

}  // namespace host
