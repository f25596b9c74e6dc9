#include "procedures/Kinetics.h"

#include <algorithm>
#include <cmath>

#include "logging/LogFiles.h"
#include "optics/InOrder.h"
#include "optics/UnitValues.h"
#include "procedures/RequestLimits.h"
#include "state/Deadline.h"

namespace photometer {

namespace {

constexpr LONG NO_VALID_READING = 313;
constexpr LONG INTERVAL_EXCEEDED = 315;

constexpr std::uint64_t MS_PER_MINUTE = 60 * MS_PER_SECOND;

}  // namespace

HRESULT ValidateKineticsRequest(const KineticsRequest* pRequest, const PhotometerParameters& params) {
  if (pRequest == nullptr) {
    return E_POINTER;
  }
  const bool bFits = IsMeasurable(pRequest->m_dWavelength, params) && std::isfinite(pRequest->m_dLampSwitchingPoint);
  return bFits ? S_OK : E_INVALIDARG;
}

void Kinetics::Run() {
  Begin();
  LONG iResult = 0;
  const bool bDrawn = DrawSample(&iResult);
  if (bDrawn) {
    iResult = MeasureAll();
  }
  if (bDrawn && iResult == 0 && !m_bCanceled) {
    m_bCanceled = !m_End.NotifyFinished(m_Request.m_dwRequestId);
  }
  Finish(iResult);
}

void Kinetics::Begin() {
  LogPhotometerF(TRUE, "[Kinetics] ----->  Thread started.");
  {
    const auto state = m_State.Lock();
    m_Request = state->m_KineticsRequest;
    m_Params = state->m_Params;
    m_iCuvetteSize = state->m_Status.iCuvetteSize;
  }
  m_Sink.NotifyCode(m_Request.m_dwRequestId, NOTIFY_STARTED, 0);
  LogPhotometerF(FALSE, "[Kinetics] Wavelength= %.1f", m_Request.m_dWavelength);
}

bool Kinetics::DrawSample(LONG* pResult) {
  if (!m_Pumps.IsPumpInUse()) {
    return true;
  }
  const DWORD dwResult = m_Pumps.PumpStep(m_Params, m_Request.m_dwRequestId);
  if (IsPumpStopCode(dwResult)) {
    NKDbgPrintfW("[Kinetics] Pump(), iResult= %d", static_cast<int>(dwResult));
  } else {
    *pResult = static_cast<LONG>(dwResult);
  }
  return !CancelSeen() && dwResult == 0;
}

LONG Kinetics::MeasureAll() {
  if (const LONG iResult = SetOptics(); iResult != 0 || m_bCanceled) {
    return iResult;
  }
  return RunCycles();
}

LONG Kinetics::SetOptics() {
  const double wl = m_Request.m_dWavelength;
  const bool bDeuterium = wl < m_Request.m_dLampSwitchingPoint;
  m_iPosition = m_Model.GetMonochromatorPosition(wl);
  const DWORD dwResult = InOrder([&] { return m_Unit.SetMirror(bDeuterium ? DEUTERIUM_PATH : HALOGEN_PATH); },
                                 [&] { return m_Unit.SetFilter(m_Model.GetFilterPosition(wl)); },
                                 [&] { return m_Unit.SetGain(wl < m_Params.LowerFilterWL); },
                                 // A spectrum or a self-test before leaves it slow.
                                 [&] { return m_Unit.SetMonochromatorSpeed(MOVE_SPEED); },
                                 [&] { return m_Unit.MoveMonochromator(m_iPosition); });
  if (dwResult != 0 || CancelSeen() || !m_Params.bUV || !bDeuterium) {
    return static_cast<LONG>(dwResult);
  }
  return static_cast<LONG>(m_Unit.SetDeuteriumLamp(TRUE));
}

LONG Kinetics::RunCycles() {
  m_dwCycleTick = m_dwDueTick = GetTickCount();
  const std::uint64_t nDuration = m_Request.m_dwDuration * MS_PER_MINUTE;
  for (m_dwCycle = 0;; ++m_dwCycle) {
    if (const LONG iResult = RunCycle(); iResult != 0 || m_bCanceled) {
      return iResult;
    }
    if (m_nElapsed > nDuration) {
      return 0;
    }
  }
}

LONG Kinetics::RunCycle() {
  if ((m_dwCycle > 0 && !WaitForCycle()) || CancelSeen()) {
    return 0;
  }
  const double wl = m_Request.m_dWavelength;
  const bool bDeuterium = wl < m_Request.m_dLampSwitchingPoint;
  const bool bHalogen = !(m_Params.bUV && bDeuterium);
  const bool bHighPower = !bDeuterium && wl < m_Params.LowerFilterWL;
  MeasureValue value{};
  value.dwTag = m_dwCycle;
  value.dwPosition = static_cast<DWORD>(m_iPosition);
  value.dWavelength = CycleMinutes();
  value.iCuvetteSize = m_iCuvetteSize;
  if (const DWORD dwResult = m_Unit.SetHalogenLamp(bHalogen, bHighPower); dwResult != 0) {
    return static_cast<LONG>(dwResult);
  }
  if (const LONG iResult = TakeReading(&value); iResult != 0) {
    return iResult;
  }
  if (const DWORD dwResult = m_Unit.SetHalogenLamp(FALSE, FALSE); dwResult != 0) {
    return static_cast<LONG>(dwResult);
  }
  Deliver(value);
  return 0;
}

DWORD Kinetics::Interval() const {
  return static_cast<DWORD>(std::min<std::uint64_t>(m_Request.m_dwInterval * MS_PER_SECOND, LONGEST_LIMIT));
}

bool Kinetics::WaitForCycle() {
  const DWORD dwInterval = Interval();
  const DWORD dwElapsed = GetTickCount() - m_dwDueTick;
  const DWORD dwRest = dwInterval > dwElapsed ? dwInterval - dwElapsed : 0;
  // The stop signals the event, too; the next command is refused then.
  if (WaitForSingleObject(m_State.CancelEvent(), dwRest) == WAIT_OBJECT_0 && !m_State.IsStopping()) {
    LogPhotometerF(TRUE, "[Kinetics] Measurement has been canceled !");
    m_bCanceled = true;
    return false;
  }
  const DWORD dwNow = GetTickCount();
  m_nElapsed += dwNow - m_dwCycleTick;
  m_dwCycleTick = dwNow;
  m_dwDueTick = dwRest > 0 ? m_dwDueTick + dwInterval : dwNow;
  return true;
}

double Kinetics::CycleMinutes() const {
  if (m_Request.m_dwInterval != 0) {
    return static_cast<double>(m_dwCycle) * Interval() / 1000.0 / 60.0;
  }
  return static_cast<double>(m_nElapsed) / 1000.0 / 60.0;
}

LONG Kinetics::TakeReading(MeasureValue* pValue) {
  LONG iResult = NO_VALID_READING;
  for (int i = 0; i < READING_ATTEMPTS && iResult == NO_VALID_READING; ++i) {
    iResult = IntervalExceeded() ? INTERVAL_EXCEEDED : TryReading(pValue);
  }
  return iResult;
}

bool Kinetics::IntervalExceeded() {
  const DWORD dwElapsed = GetTickCount() - m_dwCycleTick;
  if (m_Request.m_dwInterval == 0 || dwElapsed <= Interval()) {
    return false;
  }
  LogPhotometerF(TRUE, "  Interval exceeded...   Interval= %d s   Elapsed Time= %d ms",
                 static_cast<int>(m_Request.m_dwInterval), static_cast<int>(dwElapsed));
  return true;
}

LONG Kinetics::TryReading(MeasureValue* pValue) {
  Reading reading;
  if (const DWORD dwResult = ReadWithoutDark(m_Unit, m_Detectors, &reading); dwResult != 0) {
    return static_cast<LONG>(dwResult);
  }
  return TakeOver("Kinetics", reading, pValue) ? 0 : NO_VALID_READING;
}

void Kinetics::Deliver(const MeasureValue& value) {
  const MeasureValues values{value};
  m_Sink.Notify([&](IPhotometerSink& sink) { sink.OnResult(m_Request.m_dwRequestId, &values); });
  NoteActivity();
}

void Kinetics::Finish(LONG iResult) {
  m_End.Report("Kinetics", iResult);
  m_End.MakeSafe();
  if (EndsCancelled(iResult)) {
    m_End.NotifyCancelled(m_Request.m_dwRequestId);
    LogPhotometer("[Kinetics] Measurement was canceled.");
  }
  m_End.React(iResult);
  m_End.GiveBack();
  LogPhotometerF(TRUE, "[Kinetics] Thread closed with iResult= %d", iResult);
}

}  // namespace photometer
