/// The self-tests' measuring tool: the absorbance spectrum of the built-in holmium oxide filter, the peak in it, and
/// the wait for an empty cuvette well.
#pragma once

#include <vector>

#include "calibration/WavelengthModel.h"
#include "monitors/CuvetteHolder.h"
#include "optics/Detectors.h"
#include "optics/OpticalUnit.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

/// Results of `MeasureFilterSpectrum` beside those of the optical commands.
inline constexpr DWORD SPECTRUM_CANCELLED = 1000;
inline constexpr DWORD SPECTRUM_BAD_RANGE = 2000;
inline constexpr DWORD SPECTRUM_CUVETTE = 3000;

/// Who waits for the cuvette: passed to the host.
enum class CuvetteCaller : DWORD { WavelengthCheck = 0, StartUp = 1, WavelengthTest = 2 };

/// Index of the largest value among the first `wavelengths.size()` ones; the first of equal ones; 0 of none.
DWORD FindMaximumIndex(const std::vector<double>& wavelengths, const std::vector<double>& values);

/// Absorbance of the filter against the open position, each normalised by its reference channel. The arguments are
/// light minus dark; what is not greater than 0 counts as 1.
double FilterAbsorbance(const Reading& filter, const Reading& open);

class FilterSpectrum {
 public:
  FilterSpectrum(DeviceState& state, HostSink& sink, OpticalUnit& unit, Detectors& detectors,
                 const WavelengthModel& model, CuvetteHolder& cuvette)
      : m_State(state), m_Sink(sink), m_Unit(unit), m_Detectors(detectors), m_Model(model), m_Cuvette(cuvette) {}

  /// Records the spectrum over the range of `m_iScanRangeMode` and `m_ScanRange`, and appends to both lists; nothing is
  /// appended after a cancel or a command that failed, and a part or all of it when a cuvette came behind the last
  /// pass. `dwAttempt` changes nothing. 0; 1000 when cancelled; 2000 for an unknown mode, or without a range; 3000 when
  /// a cuvette is in the well, or was when it was looked for, and `bIgnoreCuvette` is 0; or the number of the command
  /// that failed, whose name stays the last command.
  DWORD MeasureFilterSpectrum(std::vector<double>* pWavelengths, std::vector<double>* pAbsorbances, DWORD dwAttempt,
                              BOOL bIgnoreCuvette);

  /// Asks the host and waits until the cuvette well is empty, or the device stops; a cancel ends the wait of the
  /// wavelength check, without telling the host of a removal. 1 if it had to wait, else 0.
  BOOL WaitForCuvetteRemoval(CuvetteCaller caller);

 private:
  /// One pass over the range, with the filter wheel where it is to be.
  struct Pass {
    Reading dark;
    std::vector<double> sample;
    std::vector<double> reference;

    [[nodiscard]] Reading At(std::size_t nIndex) const;
  };
  struct Range {
    DWORD dwFirstPosition = 0;
    DWORD dwLastPosition = 0;
    std::vector<double> wavelengths;
  };

  /// False: the mode is unknown, or there is no range.
  bool TakeRange(Range* pRange);
  DWORD MeasurePasses(const Range& range, BOOL bIgnoreCuvette, Pass* pOpen, Pass* pFilter);
  DWORD PrepareOpenPass();
  DWORD ScanPass(const Range& range, BOOL bIgnoreCuvette, DWORD dwProgress, Pass* pPass);
  /// 0, or what stops the run now.
  DWORD CheckCancel();
  DWORD CheckCuvette(BOOL bIgnoreCuvette);
  /// 0; 3000 when a cuvette comes: the lists are not whole then.
  DWORD Append(const Range& range, BOOL bIgnoreCuvette, const Pass& open, const Pass& filter,
               std::vector<double>* pWavelengths, std::vector<double>* pAbsorbances);
  /// Parks the mirror and switches the lamp off; the last command keeps its name.
  void Close();

  DeviceState& m_State;
  HostSink& m_Sink;
  OpticalUnit& m_Unit;
  Detectors& m_Detectors;
  const WavelengthModel& m_Model;
  CuvetteHolder& m_Cuvette;
};

}  // namespace photometer
