#include "simulator/LightPath.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace simulator {

namespace {

constexpr double SampleOptics = 0.92;
constexpr double ReferenceOptics = 0.85;
constexpr double SecondOrder = 0.2;
/// Over this range, nm, the grating turns the second order behind a baffle: no filter could pass 550 nm and hold it
/// back at 1100 nm. The baffle's edge crosses a beam that is as wide as the grating, so that the order ends gradually.
constexpr double BaffleBegins = 930.0;
constexpr double BaffleEnds = 1060.0;
constexpr double ShortestWavelength = 185.0;  // nm, below which air and windows absorb everything
constexpr double LongestWavelength = 1150.0;  // nm, beyond which the detectors see nothing
constexpr double HalogenCounts = 0.9e8;       // at 900 nm, for a response of 1
constexpr double DeuteriumCounts = 6.5e6;     // at 225 nm, for a response of 1

struct ResponsePoint {
  double wavelength;  // nm
  double response;    // grating efficiency times detector response
};

constexpr std::array<ResponsePoint, 17> Response = {{{185, 0.005},
                                                     {200, 0.045},
                                                     {220, 0.060},
                                                     {250, 0.077},
                                                     {300, 0.088},
                                                     {350, 0.093},
                                                     {400, 0.104},
                                                     {450, 0.114},
                                                     {500, 0.118},
                                                     {600, 0.122},
                                                     {700, 0.119},
                                                     {800, 0.110},
                                                     {900, 0.1045},
                                                     {950, 0.0980},
                                                     {1000, 0.080},
                                                     {1050, 0.050},
                                                     {1150, 0.010}}};

double ResponseAt(double wavelength) {
  std::size_t i = 1;
  while (i + 1 < Response.size() && Response[i].wavelength < wavelength) ++i;
  const ResponsePoint& low = Response[i - 1];
  const ResponsePoint& high = Response[i];
  const double share = (wavelength - low.wavelength) / (high.wavelength - low.wavelength);
  return low.response + share * (high.response - low.response);
}

/// The share of the second order that passes the baffle: the part of a round beam that lies beside a straight edge,
/// close to the half period of a cosine.
double BesideBaffle(double wavelength) {
  const double share = std::clamp((wavelength - BaffleBegins) / (BaffleEnds - BaffleBegins), 0.0, 1.0);
  return 0.5 + 0.5 * std::cos(std::numbers::pi * share);
}

}  // namespace

LightPath::LightPath(const OpticalUnitSettings& settings)
    : m_bUV(settings.bUV), m_StrayLight(settings.strayLight), m_Filters(settings.bUV) {
  SetFaults(settings.faults);
}

void LightPath::SetFaults(const InstrumentFaults& faults) {
  m_Faults = faults;
  m_Halogen.SetLevel(faults.halogenLevel);
  m_Deuterium.SetLights(faults.bDeuteriumLights);
  m_Filters.SetFaults(faults.filterOrder, faults.filterLeak);
  ForgetBeam();
}

void LightPath::Reset(Time now) {
  SwitchHalogen(now, 0);
  SwitchDeuterium(now, false);
  SetMirror(Parked);
  SetShutter(false);
  SetFilter(0);
}

void LightPath::SwitchHalogen(Time now, int iPower) {
  m_Halogen.Switch(now, iPower);
  ForgetBeam();
}

void LightPath::SetMirror(int iMirror) {
  m_iMirror = iMirror;
  ForgetBeam();
}

void LightPath::SetFilter(int iPosition) {
  m_Filters.PlaceAt(iPosition);
  ForgetBeam();
}

int LightPath::LampPath() const {
  // Without the UV path there is no mirror: the halogen lamp always shines in.
  if (!m_bUV) return HalogenPath;
  return m_Faults.stuckMirror.value_or(m_iMirror);
}

double LightPath::Intensity(int iPath, double wavelength) const {
  if (wavelength < ShortestWavelength || wavelength > LongestWavelength) return 0.0;
  const double lamp = iPath == HalogenPath ? HalogenCounts * m_Halogen.Spectrum(wavelength)
                                           : DeuteriumCounts * DeuteriumLamp::Spectrum(wavelength);
  return lamp * ResponseAt(wavelength);
}

LightPath::Beam LightPath::MakeBeam(int iPath, double wavelength) const {
  Beam beam;
  beam.wavelength = wavelength;
  beam.first = Intensity(iPath, wavelength);
  beam.second = SecondOrder * BesideBaffle(wavelength) * Intensity(iPath, wavelength / 2.0);
  beam.firstFiltered = beam.first * m_Filters.Transmission(wavelength);
  beam.secondFiltered = beam.second == 0.0 ? 0.0 : beam.second * m_Filters.Transmission(wavelength / 2.0);
  return beam;
}

Light LightPath::At(Time now, double wavelength, const Sample& sample) {
  const int iPath = LampPath();
  if (iPath == Parked || m_Faults.stuckShutter.value_or(m_bShutterClosed)) return {};
  const double brightness = iPath == HalogenPath ? m_Halogen.Brightness(now) : m_Deuterium.Brightness(now);
  if (brightness == 0.0) return {};
  if (m_Beam.wavelength != wavelength) m_Beam = MakeBeam(iPath, wavelength);

  const double direct = m_Beam.firstFiltered * (sample.Transmission(wavelength, now) + m_StrayLight);
  const double second =
      m_Beam.secondFiltered == 0.0 ? 0.0 : m_Beam.secondFiltered * sample.Transmission(wavelength / 2.0, now);
  const double reference = m_Beam.first * (1.0 + m_StrayLight) + m_Beam.second;
  return {SampleOptics * brightness * (direct + second), ReferenceOptics * brightness * reference};
}

}  // namespace simulator
