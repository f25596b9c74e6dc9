#include "simulator/Sample.h"

#include <array>
#include <cmath>
#include <utility>

namespace simulator {

namespace {

struct NamedBand {
  std::string_view name;
  double centre;     // nm
  double deviation;  // nm
};

constexpr std::array<NamedBand, 3> Dyes = {{{"yellow", 430.0, 28.0}, {"red", 525.0, 30.0}, {"blue", 620.0, 32.0}}};

}  // namespace

Sample Sample::NeutralGlass(double absorbance) {
  Sample sample;
  sample.m_Neutral = absorbance;
  return sample;
}

Sample Sample::Dye(std::string_view name, double absorbance) {
  for (const NamedBand& dye : Dyes) {
    if (dye.name == name) return Bands({{dye.centre, absorbance, dye.deviation}});
  }
  return Blank();
}

Sample Sample::Bands(std::vector<AbsorptionBand> bands) {
  Sample sample;
  sample.m_Bands = std::move(bands);
  return sample;
}

Sample Sample::Kinetics(const AbsorptionBand& final, double ratePerSecond, Time start) {
  Sample sample = Bands({final});
  sample.m_Rate = ratePerSecond;
  sample.m_Start = start;
  return sample;
}

Sample Sample::WithTurbidity(double ntu) const {
  Sample sample = *this;
  sample.m_Turbidity = ntu;
  return sample;
}

double Sample::Progress(Time now) const {
  if (m_Rate == 0.0) return 1.0;
  if (now <= m_Start) return 0.0;
  return -std::expm1(-m_Rate * static_cast<double>(now - m_Start) / 1e6);
}

double Sample::TrueAbsorbance(double wavelength, Time now) const {
  double bands = 0.0;
  for (const AbsorptionBand& band : m_Bands) {
    const double distance = (wavelength - band.centre) / band.deviation;
    bands += band.absorbance * std::exp(-0.5 * distance * distance);
  }
  return m_Neutral + (bands == 0.0 ? 0.0 : bands * Progress(now));
}

double Sample::Transmission(double wavelength, Time now) const {
  const double absorbance = TrueAbsorbance(wavelength, now);
  return absorbance == 0.0 ? 1.0 : std::pow(10.0, -absorbance);
}

double Sample::ApparentAbsorbance(double wavelength, Time now, double strayLight) const {
  return -std::log10((Transmission(wavelength, now) + strayLight) / (1.0 + strayLight));
}

}  // namespace simulator
