/// Where the holmium oxide filter's peak is, against where it should be: the measure of the monochromator's error.
#pragma once

#include "calibration/FilterSpectrum.h"
#include "calibration/WavelengthModel.h"
#include "state/DeviceState.h"

namespace photometer {

class HolmiumPeak {
 public:
  struct Result {
    /// There is a spectrum. Without one the index is 0, and the offset that of the spectrum's beginning.
    bool bFound = false;
    /// The spectrum was recorded without a failure, a cancel or a cuvette in the well.
    bool bComplete = false;
    /// Of the spectrum's first point and of the expected peak, without correction, steps.
    DWORD dwFirstPosition = 0;
    DWORD dwExpectedPosition = 0;
    /// Of the maximum in the spectrum.
    DWORD dwIndex = 0;
    double dWavelength = 0.0;
    /// Found minus expected position, steps.
    LONG iOffset = 0;

    /// A peak was found, at most so many steps from where it should be.
    [[nodiscard]] bool IsWithin(LONG iTolerance) const {
      return bFound && iOffset >= -iTolerance && iOffset <= iTolerance;
    }
  };

  HolmiumPeak(DeviceState& state, const WavelengthModel& model, FilterSpectrum& spectrum)
      : m_State(state), m_Model(model), m_Spectrum(spectrum) {}

  /// Records the spectrum 2 nm on either side of the expected peak (nm) and looks for its maximum.
  Result Find(double dReferencePeak, DWORD dwAttempt, BOOL bIgnoreCuvette);

 private:
  DeviceState& m_State;
  const WavelengthModel& m_Model;
  FilterSpectrum& m_Spectrum;
};

/// What a wavelength test writes of its search; `tag` names the procedure.
void LogPeak(const char* tag, const HolmiumPeak::Result& peak);

}  // namespace photometer
