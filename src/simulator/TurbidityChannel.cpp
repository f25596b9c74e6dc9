#include "simulator/TurbidityChannel.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>

#include "simulator/Detector.h"
#include "simulator/WireNumber.h"

namespace simulator {

namespace {

constexpr int Pairs = 8;
constexpr double DarkCounts = 2000.0;
constexpr double CountsWithoutParticles = 200.0;
constexpr double CountsPerNtu = 400.0;
constexpr double ReadNoise = 15.0;        // counts
constexpr double RelativeNoise = 0.0005;  // the source flickers
constexpr std::uint32_t Temperature = 0x002580;
constexpr std::array<double, 3> PowerFactors = {1.0, 2.5, 6.0};
constexpr double HighGainFactor = 12.0;

}  // namespace

double TurbidityChannel::ExpectedDifference(double ntu) const {
  const double power = PowerFactors[static_cast<std::size_t>(m_iPower - 1)];
  return power * (m_bHighGain ? HighGainFactor : 1.0) * (CountsWithoutParticles + CountsPerNtu * ntu);
}

std::uint32_t TurbidityChannel::Reading(double counts, double noiseLevel) {
  const double deviation = noiseLevel * std::hypot(ReadNoise, RelativeNoise * (counts - DarkCounts));
  const double noisy = counts + deviation * m_Random.Normal();
  return static_cast<std::uint32_t>(std::clamp(noisy, 0.0, static_cast<double>(Detector::FullScale)) + 0.5);
}

std::string TurbidityChannel::Measure(double ntu, double noiseLevel) {
  std::string strPairs;
  for (int i = 0; i < Pairs; ++i) {
    Append24Bits(strPairs, Reading(DarkCounts, noiseLevel));
    Append24Bits(strPairs, Temperature);
    Append24Bits(strPairs, Reading(DarkCounts + ExpectedDifference(ntu), noiseLevel));
    Append24Bits(strPairs, Temperature);
  }
  return strPairs;
}

}  // namespace simulator
