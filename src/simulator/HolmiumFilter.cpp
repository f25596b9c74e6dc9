#include "simulator/HolmiumFilter.h"

#include <array>
#include <cmath>

namespace simulator {

namespace {

struct Band {
  double centre;      // nm
  double absorbance;  // at the centre
  double deviation;   // nm
};

constexpr std::array<Band, 13> Bands = {{{279.4, 0.50, 1.5},
                                         {287.5, 0.60, 1.6},
                                         {333.7, 0.25, 1.4},
                                         {345.5, 0.15, 1.8},
                                         {360.7, 1.20, 0.7},
                                         {385.6, 0.20, 1.5},
                                         {418.4, 0.60, 1.8},
                                         {445.0, 1.00, 1.6},
                                         {453.8, 1.15, 1.2},
                                         {460.0, 1.00, 1.3},
                                         {484.0, 0.30, 2.2},
                                         {537.0, 0.90, 1.7},
                                         {637.5, 0.40, 2.6}}};

constexpr double Surfaces = 0.04;         // reflection at the two surfaces, as absorbance
constexpr double GlassEdge = 268.0;       // nm, below which the glass itself absorbs
constexpr double SlitDeviation = 0.4247;  // nm, for 1 nm at half height

}  // namespace

double HolmiumFilter::Absorbance(double wavelength) {
  double absorbance = Surfaces + 3.0 / (1.0 + std::exp((wavelength - GlassEdge) / 5.0));
  for (const Band& band : Bands) {
    const double distance = (wavelength - band.centre) / band.deviation;
    if (std::fabs(distance) < 6.5) absorbance += band.absorbance * std::exp(-0.5 * distance * distance);
  }
  return absorbance;
}

double HolmiumFilter::Transmission(double wavelength) {
  // Gauss-Hermite quadrature of five nodes for a standard normal weight.
  static constexpr std::array<double, 5> nodes = {-2.856970, -1.355626, 0.0, 1.355626, 2.856970};
  static constexpr std::array<double, 5> weights = {0.011257411, 0.222075922, 0.533333333, 0.222075922, 0.011257411};
  double transmission = 0.0;
  for (std::size_t i = 0; i < nodes.size(); ++i) {
    transmission += weights[i] * std::pow(10.0, -Absorbance(wavelength + SlitDeviation * nodes[i]));
  }
  return transmission;
}

}  // namespace simulator
