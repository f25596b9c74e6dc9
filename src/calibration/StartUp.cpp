#include "calibration/StartUp.h"

#include "calibration/StageCodes.h"
#include "logging/LogFiles.h"
#include "optics/InOrder.h"
#include "optics/UnitValues.h"

namespace photometer {

namespace {

constexpr DWORD WAVELENGTH_ATTEMPTS = 3;
/// Largest correction that a sound instrument needs, steps either way.
constexpr LONG OFFSET_LIMIT = 15;

}  // namespace

void StartUp::InitProc() {
  Begin();
  LONG iResult = LampTest();
  if (iResult == 0) {
    iResult = WavelengthTest();
  }
  if (iResult == 0) {
    iResult = MeasureZeros();
  }
  End(iResult);
}

void StartUp::Begin() {
  m_State.SetLastCommand("");
  m_Calibration = m_State.Lock()->m_Calibration;
  LogPhotometer("Starting Thread [InitProc] ...");
  m_Sink.Notify({NotifyCall(0, START_UP, 0), NotifyCall(0, SELF_TEST_RUNNING, 0), NotifyCall(0, LAMP_TEST, 0),
                 NotifyCall(0, WAVELENGTH_TEST, 0), NotifyCall(0, ZERO_MEASUREMENT, 0)});
  m_Spectrum.WaitForCuvetteRemoval(CuvetteCaller::StartUp);
}

// ---- lamp test ----

LONG StartUp::LampTest() {
  LogPhotometerF(TRUE, "[InitProc] Starting LAMP Test...");
  m_Sink.NotifyCode(0, LAMP_TEST, 10);
  const DWORD dwPrepared =
      InOrder([&] { return m_Unit.SetShutter(FALSE); }, [&] { return m_Unit.SetFilter(OPEN_POSITION); },
              [&] { return m_Unit.SetMirror(HALOGEN_PATH); });
  if (dwPrepared != 0) {
    return static_cast<LONG>(dwPrepared);
  }
  const DWORD dwResult = m_Unit.SetHomePosition();
  m_Sink.NotifyCode(0, LAMP_TEST, 100);
  m_Sink.NotifyCode(0, dwResult == 0 ? LAMP_TEST_PASSED : LAMP_TEST_FAILED, 100);
  LogPhotometerF(TRUE, "[InitProc] LAMP Test finished... %s OK", dwResult == 0 ? "" : "NOT");
  return static_cast<LONG>(dwResult);
}

// ---- wavelength test ----

LONG StartUp::WavelengthTest() {
  for (DWORD dwAttempt = 1; dwAttempt <= WAVELENGTH_ATTEMPTS; ++dwAttempt) {
    LogPhotometerF(TRUE, "[InitProc] Starting WAVELENGTH Test... ");
    if (const DWORD dwResult = m_Unit.SetMirror(HALOGEN_PATH); dwResult != 0) {
      return static_cast<LONG>(dwResult);
    }
    m_Spectrum.WaitForCuvetteRemoval(CuvetteCaller::StartUp);
    const HolmiumPeak::Result peak = m_Peak.Find(m_Calibration.dReferencePeak, dwAttempt, TRUE);
    LogPeak("InitProc", peak);
    if (peak.IsWithin(OFFSET_LIMIT)) {
      AcceptOffset(peak.iOffset);
      return 0;
    }
    if (m_State.IsStopping()) {
      return NO_ACCEPTABLE_OFFSET;
    }
    m_Sink.NotifyCode(0, WAVELENGTH_TEST, 75);
    LogPhotometerF(TRUE, "[InitProc] Restarting WAVELENGTH Test because error occurred ...");
  }
  m_Sink.NotifyCode(0, WAVELENGTH_TEST, 100);
  m_Sink.NotifyCode(0, WAVELENGTH_TEST_FAILED, 100);
  LogPhotometerF(TRUE, "[InitProc] Aborted WAVELENGTH Test because error occurred ...");
  return NO_ACCEPTABLE_OFFSET;
}

void StartUp::AcceptOffset(LONG iOffset) {
  m_Sink.NotifyCode(0, WAVELENGTH_TEST, 100);
  m_Sink.NotifyCode(0, WAVELENGTH_TEST_PASSED, 100);
  const LONG iBefore = m_Model.GetPositionOffset();
  m_Model.SetPositionOffset(iOffset);
  LogPhotometerF(TRUE, "[InitProc] range offset OK =>  set current m_iPositionOffset= %d (old Position= %d)", iOffset,
                 iBefore);
  const DWORD dwNow = GetTickCount();
  m_State.Lock()->m_Status.dwLastActivityTick = dwNow;
  LogPhotometerF(TRUE, "[InitProc] WAVELENGTH Test finished... ");
}

// ---- zero measurement ----

LONG StartUp::MeasureZeros() {
  LogPhotometerF(TRUE, "[InitProc] Starting ZERO MEASUREMENT...");
  for (;;) {
    ZeroRun run = ZeroRun::Complete;
    if (const LONG iResult = MeasureRun(&run); iResult != 0) {
      return iResult;
    }
    if (run == ZeroRun::Complete) {
      m_Sink.NotifyCode(0, ZERO_MEASUREMENT, 100);
      m_Sink.NotifyCode(0, ZERO_MEASUREMENT_DONE, 100);
      LogPhotometerF(TRUE, "[InitProc] ZERO MEASUREMENT finished...");
      return 0;
    }
    if (m_State.IsStopping()) {
      return NO_ZERO_READING;  // the wait for the cuvette's removal was ended, not answered
    }
    LogPhotometerF(TRUE, "[InitProc] Restarting ZERO MEASUREMENT ... ");
  }
}

LONG StartUp::MeasureRun(ZeroRun* pRun) {
  if (const LONG iResult = m_Zeros.Begin(); iResult != 0) {
    return iResult;
  }
  for (std::size_t i = 0; i < m_Calibration.ZeroWavelengths.size(); ++i) {
    if (CuvetteHadToBeRemoved()) {
      *pRun = ZeroRun::Interrupted;
      return 0;
    }
    if (const LONG iResult = MeasureOne(i, pRun); iResult != 0 || *pRun == ZeroRun::Interrupted) {
      return iResult;
    }
  }
  return 0;
}

LONG StartUp::MeasureOne(std::size_t nIndex, ZeroRun* pRun) {
  const auto mayTry = [&] {
    if (CuvetteHadToBeRemoved()) {
      *pRun = ZeroRun::Interrupted;
    }
    return *pRun == ZeroRun::Complete;
  };
  const double wl = m_Calibration.ZeroWavelengths[nIndex];
  Reading zero;
  if (const LONG iResult = m_Zeros.Measure(wl, mayTry, &zero); iResult != 0 || *pRun == ZeroRun::Interrupted) {
    return iResult;
  }
  if (const LONG iResult = m_Zeros.Keep(wl, zero); iResult != 0) {
    return iResult;
  }
  NKDbgPrintfW("[InitProc] [%2d] %.1f nm:  Value= %12.3lf,  ValueRef= %12.3lf", static_cast<int>(nIndex), wl,
               zero.dSample, zero.dReference);
  m_Zeros.NotifyProgress(nIndex + 1, m_Calibration.ZeroWavelengths.size());
  return 0;
}

// ---- end ----

void StartUp::End(LONG iResult) {
  if (iResult == 0) {
    HandOverZeros();
  }
  EndOptics("InitProc", iResult);
  if (iResult != 0) {
    m_Sink.NotifyCode(0, START_UP_FAILED, static_cast<DWORD>(iResult));
  }
  DecideInitialized(iResult);
  m_Sink.Notify({NotifyCall(0, SELF_TEST_RUNNING, 1), NotifyCall(0, START_UP_ENDED, 0)});
  LogPhotometerF(TRUE, "[InitProc] Thread finished.");
}

void StartUp::HandOverZeros() {
  const std::vector<WavelengthCalibrationEntry> zeros = m_State.Lock()->m_WavelengthCalibrations;
  m_Sink.Notify(
      {NotifyCall(0, START_UP_PASSED, 100), [&zeros](IPhotometerSink& sink) { sink.OnReferenceValues(&zeros); }});
}

}  // namespace photometer
