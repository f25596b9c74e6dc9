/// The built-in filter of holmium oxide glass, by which the wavelength scale is checked.
#pragma once

namespace simulator {

class HolmiumFilter {
 public:
  /// Absorbance for light of one wavelength, nm.
  [[nodiscard]] static double Absorbance(double wavelength);
  /// Transmission as the instrument sees it at a wavelength in nm: averaged over the monochromator's band, which is a
  /// normal curve of 1 nm at half height.
  [[nodiscard]] static double Transmission(double wavelength);
};

}  // namespace simulator
