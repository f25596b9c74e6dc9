#include "simulator/FilterWheel.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

#include "simulator/HolmiumFilter.h"

namespace simulator {

namespace {

enum class Kind { Open, Coloured, Holmium, Blocked };

struct Glass {
  Kind kind;
  double from;  // nm, 0: no lower edge
  double to;    // nm, 0: no upper edge
};

constexpr Glass Open = {Kind::Open, 0, 0};
constexpr Glass UVPass = {Kind::Coloured, 0, 386};
constexpr Glass BlueGreen = {Kind::Coloured, 366, 563};
constexpr Glass Green = {Kind::Coloured, 440, 685};
constexpr Glass LongPass = {Kind::Coloured, 538, 0};
constexpr Glass Holmium = {Kind::Holmium, 0, 0};
constexpr Glass Blocked = {Kind::Blocked, 0, 0};

using Wheel = std::array<Glass, FilterWheel::Positions>;
constexpr Wheel WithUV = {Open, UVPass, BlueGreen, LongPass, Blocked, Blocked, Holmium, Blocked};
constexpr Wheel WithoutUV = {Open, UVPass, BlueGreen, Green, LongPass, Holmium, Blocked, Blocked};

constexpr double GlassTransmission = 0.88;
constexpr double Blocking = 1e-5;
constexpr double EdgeWidth = 2.2;  // nm, in which an edge falls to a third
constexpr Time TimePerPosition = 150'000;

double Edge(double distance) { return 1.0 / (1.0 + std::exp(-distance / EdgeWidth)); }

double Coloured(const Glass& glass, double wavelength) {
  double passes = GlassTransmission;
  if (glass.from > 0.0) passes *= Edge(wavelength - glass.from);
  if (glass.to > 0.0) passes *= Edge(glass.to - wavelength);
  return std::max(passes, Blocking);
}

}  // namespace

void FilterWheel::SetFaults(const std::array<std::uint8_t, Positions>& order,
                            const std::array<double, Positions>& leak) {
  m_Order = order;
  m_Leak = leak;
}

Time FilterWheel::TurnTime(int iPosition) const {
  const int iWay = std::abs(iPosition - m_iPosition);
  return static_cast<Time>(std::min(iWay, Positions - iWay)) * TimePerPosition;
}

double FilterWheel::FilterTransmission(std::size_t nFilter, double wavelength) const {
  const Glass& glass = (m_bUV ? WithUV : WithoutUV)[nFilter % Positions];
  switch (glass.kind) {
    case Kind::Open:
      return 1.0;
    case Kind::Coloured:
      return Coloured(glass, wavelength);
    case Kind::Holmium:
      return HolmiumFilter::Transmission(wavelength);
    case Kind::Blocked:
      break;
  }
  return 0.0;
}

double FilterWheel::Transmission(double wavelength) const {
  const auto nPosition = static_cast<std::size_t>(m_iPosition);
  const double leak = m_Leak[nPosition];
  return leak + (1.0 - leak) * FilterTransmission(m_Order[nPosition], wavelength);
}

}  // namespace simulator
