#include "simulator/Lamp.h"

#include <cmath>

namespace simulator {

namespace {

constexpr double SecondRadiationConstant = 1.438777e7;  // nm K
constexpr double NormalTemperature = 2900.0;            // K
constexpr double HighTemperature = 3100.0;              // K

constexpr double FilamentTime = 40e3;  // µs, the filament's heat
constexpr double BulbTime = 15e6;      // µs, the bulb's
constexpr double BulbShare = 0.01;
constexpr double ArcTime = 25e6;  // µs, the vapour's pressure
constexpr double ArcShare = 0.25;

double Planck(double wavelength, double temperature) {
  const double ratio = 900.0 / wavelength;
  return ratio * ratio * ratio * ratio * ratio / std::expm1(SecondRadiationConstant / (wavelength * temperature));
}

const double NormalScale = 1.0 / Planck(900.0, NormalTemperature);

double Line(double wavelength, double centre) {
  const double distance = (wavelength - centre) / 0.5;
  return std::fabs(distance) > 6.0 ? 0.0 : std::exp(-0.5 * distance * distance);
}

double Since(Time litAt, Time now) { return now > litAt ? static_cast<double>(now - litAt) : 0.0; }

}  // namespace

void HalogenLamp::Switch(Time now, int iPower) {
  if (m_iPower == 0 && iPower != 0) m_LitAt = now;
  m_iPower = iPower;
}

double HalogenLamp::Spectrum(double wavelength) const {
  return NormalScale * Planck(wavelength, m_iPower == 2 ? HighTemperature : NormalTemperature);
}

double HalogenLamp::Brightness(Time now) const {
  if (m_iPower == 0) return 0.0;
  const double since = Since(m_LitAt, now);
  return m_Level * -std::expm1(-since / FilamentTime) * (1.0 - BulbShare * std::exp(-since / BulbTime));
}

void DeuteriumLamp::Switch(Time now, bool bOn) {
  if (bOn && !m_bOn) m_LitAt = now;
  m_bOn = bOn;
}

double DeuteriumLamp::Spectrum(double wavelength) {
  const double width = wavelength < 225.0 ? 30.0 : 50.0;
  const double distance = (wavelength - 225.0) / width;
  const double molecular = 0.80 * std::exp(-0.5 * distance * distance) + 0.15 * std::exp(-(wavelength - 225.0) / 200.0);
  return molecular + 0.05 + 0.3 * Line(wavelength, 486.0) + 0.8 * Line(wavelength, 656.1);
}

double DeuteriumLamp::Brightness(Time now) const {
  if (!m_bOn || !m_bLights) return 0.0;
  return 1.0 - ArcShare * std::exp(-Since(m_LitAt, now) / ArcTime);
}

}  // namespace simulator
