#include "calibration/WavelengthTest.h"

#include <cmath>

#include "calibration/StageCodes.h"
#include "logging/LogFiles.h"
#include "optics/InOrder.h"
#include "optics/UnitValues.h"

namespace photometer {

namespace {

constexpr DWORD ATTEMPTS = 3;
/// Largest deviation that passes at first, and after the monochromator has sought its home position, steps either way.
constexpr LONG FIRST_TOLERANCE = 5;
constexpr LONG LATER_TOLERANCE = 15;

}  // namespace

void WavelengthTest::WaveLengthTestProc() {
  Begin();
  LONG iResult = FindOffset();
  if (iResult == 0 && (m_dwAttempt > 1 || !m_bWasInitialized)) {
    iResult = MeasureZeros();
  }
  End(iResult);
}

void WavelengthTest::Begin() {
  LogPhotometerF(TRUE, "[WaveLengthTestProc] -----> Thread started.");
  {
    const auto state = m_State.Lock();
    m_Calibration = state->m_Calibration;
    m_bWasInitialized = state->m_Status.bInitialized;
  }
  m_Sink.Notify({NotifyCall(0, SELF_TEST_RUNNING, 0), NotifyCall(0, TEST_REQUESTED, 0), NotifyCall(0, TEST_BEGINS, 0)});
  m_Spectrum.WaitForCuvetteRemoval(CuvetteCaller::WavelengthTest);
}

LONG WavelengthTest::FindOffset() {
  for (m_dwAttempt = 1; m_dwAttempt <= ATTEMPTS; ++m_dwAttempt) {
    bool bPassed = false;
    if (const LONG iResult = Attempt(m_dwAttempt, &bPassed); iResult != 0 || bPassed) {
      return iResult;
    }
  }
  return NO_ACCEPTABLE_OFFSET;
}

LONG WavelengthTest::Attempt(DWORD dwAttempt, bool* pPassed) {
  const int iAttempt = static_cast<int>(dwAttempt);
  LogPhotometerF(TRUE, "[WaveLengthTestProc] Starting WAVELENGTH Test , Attemp= %d", iAttempt);
  if (const DWORD dwResult = PrepareAttempt(dwAttempt); dwResult != 0) {
    return static_cast<LONG>(dwResult);
  }
  const LONG iBefore = m_Model.GetPositionOffset();
  const HolmiumPeak::Result peak = m_Peak.Find(m_Calibration.dReferencePeak, dwAttempt, TRUE);
  LogPeak("WaveLengthTestProc", peak);
  const LONG iTolerance = dwAttempt == 1 ? FIRST_TOLERANCE : LATER_TOLERANCE;
  *pPassed = peak.IsWithin(iTolerance);
  if (*pPassed) {
    AcceptOffset(dwAttempt, peak.iOffset, iBefore);
    return 0;
  }
  if (m_State.IsStopping()) {
    return NO_ACCEPTABLE_OFFSET;
  }
  m_Sink.NotifyCode(0, WAVELENGTH_TEST, 75);
  LogPhotometerF(TRUE,
                 "[WaveLengthTestProc] Attempt= %d, Holmium Oxid Filter offset failed: offset= %d (range +/- %d) !",
                 iAttempt, peak.iOffset, iTolerance);
  return 0;
}

DWORD WavelengthTest::PrepareAttempt(DWORD dwAttempt) {
  const DWORD dwResult =
      InOrder([&] { return m_Unit.SetShutter(FALSE); }, [&] { return m_Unit.SetFilter(OPEN_POSITION); });
  if (dwResult != 0 || (dwAttempt == 1 && m_bWasInitialized)) {
    return dwResult;
  }
  LogPhotometerF(TRUE, "[WaveLengthTestProc] Set Home Position, because Attemp= %d or bInitialized= %d",
                 static_cast<int>(dwAttempt), m_bWasInitialized);
  return m_Unit.SetHomePosition();
}

void WavelengthTest::AcceptOffset(DWORD dwAttempt, LONG iOffset, LONG iBefore) {
  m_Sink.NotifyCode(0, WAVELENGTH_TEST, 100);
  m_Sink.NotifyCode(0, WAVELENGTH_TEST_PASSED, 0);
  const DWORD dwNow = GetTickCount();
  m_State.Lock()->m_Status.dwLastActivityTick = dwNow;
  m_Model.SetPositionOffset(iOffset);
  LogPhotometerF(TRUE, "[WaveLengthTestProc] Attempt= %d, Range offset OK !", static_cast<int>(dwAttempt));
  LogPhotometerF(TRUE, "[WaveLengthTestProc] set new m_iPositionOffset= %d (old Position= %d)", iOffset, iBefore);
}

LONG WavelengthTest::MeasureZeros() {
  NKDbgPrintfW("[WaveLengthTestProc] Starting ZERO MEASUREMENT after attempt= %d", static_cast<int>(m_dwAttempt));
  m_Sink.NotifyCode(0, ZEROS_BEGIN, 0);
  LONG iResult = m_Zeros.Begin();
  const std::vector<double>& wavelengths = m_Calibration.ZeroWavelengths;
  for (std::size_t i = 0; iResult == 0 && i < wavelengths.size(); ++i) {
    m_Spectrum.WaitForCuvetteRemoval(CuvetteCaller::WavelengthTest);
    Reading zero;
    iResult = m_Zeros.Measure(
        wavelengths[i], [] { return true; }, &zero);
    if (iResult == 0) {
      iResult = m_Zeros.Keep(wavelengths[i], zero);
    }
    if (iResult == 0) {
      LogPhotometerF(TRUE, "[WaveLengthTestProc] %.0f nm: %lf, ref: %lf", std::trunc(wavelengths[i]), zero.dSample,
                     zero.dReference);
      m_Zeros.NotifyProgress(i + 1, wavelengths.size());
    }
  }
  return iResult;
}

void WavelengthTest::End(LONG iResult) {
  EndOptics("WaveLengthTestProc", iResult);
  if (iResult != 0) {
    m_Sink.Notify({NotifyCall(0, ZERO_MEASUREMENT, 0), NotifyCall(0, WAVELENGTH_TEST_FAILED, 0)});
  }
  DecideInitialized(iResult);
  m_Sink.Notify({NotifyCall(0, SELF_TEST_RUNNING, 1), NotifyCall(0, iResult == 0 ? TEST_PASSED : TEST_FAILED, 0)});
  LogPhotometerF(TRUE, "[WaveLengthTestProc] Thread finished.");
}

}  // namespace photometer
