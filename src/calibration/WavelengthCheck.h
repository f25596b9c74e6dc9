/// The wavelength check: where the peaks that the host names are found in the holmium oxide filter's spectrum. It
/// changes nothing; the host judges the result.
///
/// Runs on a thread of its own while the device is busy. A cuvette in the well interrupts a peak, which is measured
/// again once the cuvette has been removed.
#pragma once

#include <vector>

#include "calibration/FilterSpectrum.h"
#include "photometer/Records.h"
#include "procedures/EndSequence.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

/// 0, E_POINTER or E_INVALIDARG.
HRESULT ValidateWavelengthCheckRequest(const WavelengthCheckRequest* pRequest, const PhotometerParameters& params);

/// What one pass over a spectrum finds: its maximum, and the point nearest to the nominal wavelength.
struct PeakAnalysis {
  std::size_t nMaximum = 0;
  std::size_t nNearest = 0;

  /// The maximum lies on an edge of the range: no peak was found inside.
  [[nodiscard]] bool IsOnEdge(std::size_t nPoints) const { return nMaximum == 0 || nMaximum + 1 == nPoints; }
};
PeakAnalysis AnalysePeak(double dNominal, const std::vector<double>& wavelengths,
                         const std::vector<double>& absorbances);

class WavelengthCheck {
 public:
  WavelengthCheck(DeviceState& state, HostSink& sink, FilterSpectrum& spectrum, EndSequence& end)
      : m_State(state), m_Sink(sink), m_Spectrum(spectrum), m_End(end) {}

  /// Thread procedure.
  void WavelengthCheckProc();

 private:
  LONG CheckPeaks();
  LONG CheckPeak(std::size_t nIndex);
  /// The peak's spectrum, measured again after each cuvette that had to be removed.
  LONG MeasureSpectrum(double dPeak, std::vector<double>* pWavelengths, std::vector<double>* pAbsorbances);
  void Finish(LONG iResult);
  void NotifyOutcome(LONG iResult);

  DeviceState& m_State;
  HostSink& m_Sink;
  FilterSpectrum& m_Spectrum;
  EndSequence& m_End;

  WavelengthCheckRequest m_Request{};
  MeasureValues m_Results;
};

}  // namespace photometer
