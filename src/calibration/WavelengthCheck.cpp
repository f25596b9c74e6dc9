#include "calibration/WavelengthCheck.h"

#include <algorithm>
#include <cmath>
#include <limits>

#include "calibration/StageCodes.h"
#include "logging/LogFiles.h"
#include "procedures/RequestLimits.h"

namespace photometer {

namespace {

/// The peak is looked for this far on either side, nm.
constexpr double HALF_WIDTH = 2.0;
/// Per cent when the check begins, and what its peaks share.
constexpr DWORD FIRST_PROGRESS = 10;
constexpr DWORD PEAKS_PROGRESS = 90;
/// Between two measurements of a peak that a cuvette interrupts, ms.
constexpr DWORD REPETITION_PAUSE = 100;

constexpr LONG CANCELLED = static_cast<LONG>(SPECTRUM_CANCELLED);

}  // namespace

HRESULT ValidateWavelengthCheckRequest(const WavelengthCheckRequest* pRequest, const PhotometerParameters& params) {
  if (pRequest == nullptr) {
    return E_POINTER;
  }
  const bool bAllMeasurable =
      std::ranges::all_of(pRequest->m_Peaks, [&](double dPeak) { return IsMeasurable(dPeak, params); });
  return bAllMeasurable ? S_OK : E_INVALIDARG;
}

PeakAnalysis AnalysePeak(double dNominal, const std::vector<double>& wavelengths,
                         const std::vector<double>& absorbances) {
  PeakAnalysis analysis;
  double dBest = std::numeric_limits<double>::lowest();
  double dDistance = std::numeric_limits<double>::max();
  for (std::size_t i = 0; i < wavelengths.size(); ++i) {
    if (absorbances[i] > dBest) {
      dBest = absorbances[i];
      analysis.nMaximum = i;
    }
    if (const double d = std::fabs(wavelengths[i] - dNominal); d < dDistance) {
      dDistance = d;
      analysis.nNearest = i;
    }
  }
  return analysis;
}

void WavelengthCheck::WavelengthCheckProc() {
  LogPhotometerF(TRUE, "[WavelengthCheckProc] -----> Thread started.");
  m_Request = m_State.Lock()->m_WavelengthCheckRequest;
  m_Sink.NotifyCode(m_Request.m_dwRequestId, NOTIFY_STARTED, 0);
  m_Sink.NotifyCode(m_Request.m_dwRequestId, NOTIFY_MEASURED, FIRST_PROGRESS);
  Finish(CheckPeaks());
}

LONG WavelengthCheck::CheckPeaks() {
  const std::size_t nPeaks = m_Request.m_Peaks.size();
  m_State.Lock()->m_iScanRangeMode = ScanRangeMode::CentreAndHalfWidth;
  DWORD dwProgress = FIRST_PROGRESS;
  for (std::size_t i = 0; i < nPeaks; ++i) {
    if (const LONG iResult = CheckPeak(i); iResult != 0) {
      return iResult;
    }
    dwProgress += PEAKS_PROGRESS / static_cast<DWORD>(nPeaks);
    m_Sink.NotifyCode(m_Request.m_dwRequestId, NOTIFY_MEASURED, dwProgress);
  }
  return 0;
}

LONG WavelengthCheck::CheckPeak(std::size_t nIndex) {
  const double dPeak = m_Request.m_Peaks[nIndex];
  std::vector<double> wavelengths;
  std::vector<double> absorbances;
  if (const LONG iResult = MeasureSpectrum(dPeak, &wavelengths, &absorbances); iResult != 0) {
    return iResult;
  }
  if (wavelengths.empty()) {
    return static_cast<LONG>(SPECTRUM_BAD_RANGE);
  }
  const PeakAnalysis peak = AnalysePeak(dPeak, wavelengths, absorbances);
  const int iPeak = static_cast<int>(nIndex);
  const int iMaximum = static_cast<int>(peak.nMaximum);
  const double dFound = wavelengths[peak.nMaximum];
  const double dValue = absorbances[peak.nMaximum];
  if (peak.IsOnEdge(wavelengths.size())) {
    NKDbgPrintfW("Peak[%d]= %.2f:  found no Peak between range:  %.2f -  %.2f nm!!", iPeak, dPeak, wavelengths.front(),
                 wavelengths.back());
    NKDbgPrintfW("Measured Peak at [%d] %.2f nm  Value= %f", iMaximum, dFound, dValue);
  } else {
    NKDbgPrintfW("Peak[%d]= %.2f:  found measured Peak at [%d] %.2f nm  Value= %f,  Step Diff= %d", iPeak, dPeak,
                 iMaximum, dFound, dValue, iMaximum - static_cast<int>(peak.nNearest));
  }
  MeasureValue value{};
  value.dWavelength = dFound;
  m_Results.push_back(value);
  return 0;
}

LONG WavelengthCheck::MeasureSpectrum(double dPeak, std::vector<double>* pWavelengths,
                                      std::vector<double>* pAbsorbances) {
  for (;;) {
    pWavelengths->clear();
    pAbsorbances->clear();
    m_State.Lock()->m_ScanRange = {dPeak, HALF_WIDTH};
    const DWORD dwResult = m_Spectrum.MeasureFilterSpectrum(pWavelengths, pAbsorbances, 1, FALSE);
    if (dwResult != SPECTRUM_CUVETTE) {
      return static_cast<LONG>(dwResult);
    }
    m_Spectrum.WaitForCuvetteRemoval(CuvetteCaller::WavelengthCheck);
    if (m_State.IsCancelled()) {
      return CANCELLED;
    }
    if (!m_State.Pause(REPETITION_PAUSE)) {
      return static_cast<LONG>(SPECTRUM_CUVETTE);
    }
  }
}

void WavelengthCheck::Finish(LONG iResult) {
  // The end is decided here: a cancel from now on changes nothing.
  if (iResult == 0 && m_State.IsCancelled()) {
    iResult = CANCELLED;
  }
  NotifyOutcome(iResult);
  m_End.GiveBack();
  LogPhotometerF(TRUE, "[WavelengthCheckProc] Thread finished with iResult= %d.", iResult);
}

void WavelengthCheck::NotifyOutcome(LONG iResult) {
  const DWORD dwId = m_Request.m_dwRequestId;
  if (iResult == 0) {
    m_Sink.Notify({[&](IPhotometerSink& sink) { sink.OnResult(dwId, &m_Results); }, NotifyCall(0, WAVELENGTH_TEST, 100),
                   NotifyCall(dwId, NOTIFY_FINISHED, 100)});
  } else if (iResult == CANCELLED) {
    m_Sink.Notify({NotifyCall(0, WAVELENGTH_TEST, 100), NotifyCall(dwId, NOTIFY_CANCELLED, 100)});
  } else {
    m_End.Report("WavelengthCheck", iResult);
    m_End.React(iResult);
    const auto dwError = static_cast<DWORD>(iResult);
    m_Sink.Notify([=](IPhotometerSink& sink) { sink.OnError(dwId, dwError); });
  }
}

}  // namespace photometer
