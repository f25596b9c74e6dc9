/// What stands in the cuvette: a value with an absorbance spectrum, a reaction in it, and a turbidity.
///
/// The spectrum is a constant absorbance plus bands in the shape of a normal curve. A band may form or fade by a
/// first-order reaction. Only the sample beam passes the cuvette.
#pragma once

#include <string_view>
#include <vector>

#include "simulator/SerialDevice.h"

namespace simulator {

struct AbsorptionBand {
  double centre = 500.0;    ///< nm
  double absorbance = 1.0;  ///< at the centre
  double deviation = 25.0;  ///< nm; 2.355 times this is the width at half height
};

class Sample {
 public:
  /// Absorbs nothing.
  static Sample Blank() { return {}; }
  /// The same absorbance at every wavelength.
  static Sample NeutralGlass(double absorbance);
  /// "yellow" (430 nm), "red" (525 nm) or "blue" (620 nm), with the absorbance at its peak. Another name: a blank.
  static Sample Dye(std::string_view name, double absorbance);
  static Sample Bands(std::vector<AbsorptionBand> bands);
  /// A band that forms from `start` on: its absorbance is 1 - exp(-rate · t) of the final one, t in seconds.
  static Sample Kinetics(const AbsorptionBand& final, double ratePerSecond, Time start);

  /// The same sample with a turbidity in NTU, which only the turbidity channel sees.
  [[nodiscard]] Sample WithTurbidity(double ntu) const;
  [[nodiscard]] double Turbidity() const { return m_Turbidity; }

  /// Absorbance at a wavelength in nm.
  [[nodiscard]] double TrueAbsorbance(double wavelength, Time now) const;
  /// The share of the light that comes through.
  [[nodiscard]] double Transmission(double wavelength, Time now) const;
  /// The absorbance that an instrument finds when the share `strayLight` of its light passes beside the sample:
  /// -log10((T + s) / (1 + s)).
  [[nodiscard]] double ApparentAbsorbance(double wavelength, Time now, double strayLight) const;

 private:
  [[nodiscard]] double Progress(Time now) const;

  double m_Neutral = 0.0;
  double m_Turbidity = 0.0;
  std::vector<AbsorptionBand> m_Bands;
  double m_Rate = 0.0;  // 1/s; 0: nothing changes
  Time m_Start = 0;
};

}  // namespace simulator
