#include "calibration/HolmiumPeak.h"

#include <vector>

#include "logging/LogFiles.h"

namespace photometer {

namespace {

/// The peak is looked for this far on either side, nm.
constexpr double HALF_WIDTH = 2.0;

}  // namespace

HolmiumPeak::Result HolmiumPeak::Find(double dReferencePeak, DWORD dwAttempt, BOOL bIgnoreCuvette) {
  Result result;
  result.dwFirstPosition = m_Model.GetTablePosition(dReferencePeak - HALF_WIDTH);
  result.dwExpectedPosition = m_Model.GetTablePosition(dReferencePeak);
  {
    const auto state = m_State.Lock();
    state->m_iScanRangeMode = ScanRangeMode::FirstAndLast;
    state->m_ScanRange = {dReferencePeak - HALF_WIDTH, dReferencePeak + HALF_WIDTH};
  }
  std::vector<double> wavelengths;
  std::vector<double> absorbances;
  const DWORD dwResult = m_Spectrum.MeasureFilterSpectrum(&wavelengths, &absorbances, dwAttempt, bIgnoreCuvette);
  result.bFound = !wavelengths.empty();
  result.bComplete = result.bFound && dwResult == 0;
  result.dwIndex = FindMaximumIndex(wavelengths, absorbances);
  result.dWavelength = result.bFound ? wavelengths[result.dwIndex] : 0.0;
  result.iOffset = static_cast<LONG>(result.dwFirstPosition + result.dwIndex - result.dwExpectedPosition);
  return result;
}

void LogPeak(const char* tag, const HolmiumPeak::Result& peak) {
  NKDbgPrintfW("[%s] dwPosition1= %d, dwFilterPos= %d", tag, static_cast<int>(peak.dwFirstPosition),
               static_cast<int>(peak.dwExpectedPosition));
  if (peak.bFound) {
    LogPhotometerF(TRUE, "[%s] Find Peak at Index %d [%.2f nm]  =>  iOffset= %d", tag, static_cast<int>(peak.dwIndex),
                   peak.dWavelength, peak.iOffset);
  }
}

}  // namespace photometer
