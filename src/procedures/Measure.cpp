#include "procedures/Measure.h"

#include <algorithm>

#include "logging/LogFiles.h"
#include "optics/InOrder.h"
#include "optics/UnitValues.h"
#include "procedures/PumpAndDelay.h"
#include "procedures/RequestLimits.h"

namespace photometer {

namespace {

/// No attempt gave light.
constexpr LONG NO_VALID_READING = -3;

}  // namespace

HRESULT ValidateMeasureRequest(const MeasureRequest* pRequest, const PhotometerParameters& params) {
  if (pRequest == nullptr) {
    return E_POINTER;
  }
  if (pRequest->m_dwReadings < 1 || pRequest->m_Wavelengths.size() != pRequest->m_Tags.size() ||
      !IsSwitchingPoint(pRequest->m_dLampSwitchingPoint, params)) {
    return E_INVALIDARG;
  }
  const bool bAllMeasurable =
      std::ranges::all_of(pRequest->m_Wavelengths, [&](double wl) { return IsMeasurable(wl, params); });
  return bAllMeasurable ? S_OK : E_INVALIDARG;
}

void Measure::Run() {
  TakeRequest();
  NKDbgPrintfW("[Measure] ----->  [%d] Thread started.", static_cast<int>(m_Request.m_dwRequestId));
  LogPhotometerF(FALSE, "[Measure] [%d] Thread started", static_cast<int>(m_Request.m_dwRequestId));
  m_Sink.NotifyCode(m_Request.m_dwRequestId, NOTIFY_STARTED, 0);
  LONG iResult = 0;
  const bool bDrawn = PumpAndDelay(m_State, m_Sink, m_Pumps).Run(&iResult);
  if (bDrawn) {
    iResult = MeasureAll();
  }
  const bool bCancelSeen = iResult == 0 && CancelSeen();  // one that ended the intake counts, too
  if (iResult == 0 && bDrawn && !bCancelSeen) {
    LogPhotometerF(FALSE, "[Measure] delegate action [Photometer_Measurement_Completed]...");
    m_bCanceled = !m_End.NotifyFinished(m_Request.m_dwRequestId);
  }
  Finish(iResult);
}

void Measure::TakeRequest() {
  const auto state = m_State.Lock();
  m_Request = state->m_MeasureRequest;
  m_Params = state->m_Params;
}

LONG Measure::MeasureAll() {
  const DWORD dwResult =
      InOrder([&] { return m_Unit.SetMonochromatorSpeed(MOVE_SPEED); },
              [&] { return m_Unit.SetADSpeed(READING_AD_SPEED); }, [&] { return m_Unit.SetMeasurementLength(1); });
  auto iResult = static_cast<LONG>(dwResult);
  for (std::size_t i = 0; iResult == 0 && i < m_Request.m_Wavelengths.size() && !CancelSeen(); ++i) {
    iResult = MeasureWavelength(i);
    if (m_bCanceled) {
      break;
    }
  }
  return iResult;
}

LONG Measure::MeasureWavelength(std::size_t nIndex) {
  MeasureValue value{};
  value.dwTag = nIndex < m_Request.m_Tags.size() ? m_Request.m_Tags[nIndex] : 0;
  value.dWavelength = m_Request.m_Wavelengths[nIndex];
  value.iCuvetteSize = m_Request.m_bCuvetteSize ? m_State.Lock()->m_Status.iCuvetteSize : 0;
  if (const LONG iResult = SetOptics(value.dWavelength, &value.dwPosition); iResult != 0 || CancelSeen()) {
    return iResult;
  }
  if (const LONG iResult = SetLamp(value.dWavelength); iResult != 0) {
    return iResult;
  }
  MeasureValues values;
  if (const LONG iResult = TakeReadings(value, &values); iResult != 0 || m_bCanceled) {
    return iResult;
  }
  Deliver(nIndex, values);
  return 0;
}

LONG Measure::SetOptics(double dWavelength, DWORD* pPosition) {
  const bool bDeuterium = dWavelength < m_Request.m_dLampSwitchingPoint;
  const LONG iPosition = m_Model.GetMonochromatorPosition(dWavelength);
  *pPosition = static_cast<DWORD>(iPosition);
  // A lamp that has yet to be lit is watched through the open shutter.
  const bool bOpenShutter = bDeuterium && m_State.Lock()->m_Cache[CacheEntry::UVLamp] != 1;
  return static_cast<LONG>(InOrder([&] { return m_Unit.SetMirror(bDeuterium ? DEUTERIUM_PATH : HALOGEN_PATH); },
                                   [&] { return m_Unit.SetFilter(m_Model.GetFilterPosition(dWavelength)); },
                                   [&] { return bOpenShutter ? m_Unit.SetShutter(FALSE) : 0; },
                                   [&] { return m_Unit.SetGain(dWavelength < m_Params.LowerFilterWL); },
                                   [&] { return m_Unit.MoveMonochromator(iPosition); }));
}

LONG Measure::SetLamp(double dWavelength) {
  const bool bDeuterium = m_Params.bUV && dWavelength < m_Request.m_dLampSwitchingPoint;
  return static_cast<LONG>(bDeuterium ? m_Unit.SetDeuteriumLamp(TRUE)
                                      : m_Unit.SetHalogenLamp(TRUE, dWavelength < m_Params.LowerFilterWL));
}

LONG Measure::TakeReadings(MeasureValue value, MeasureValues* pValues) {
  for (DWORD n = 0; n < m_Request.m_dwReadings; ++n) {
    const LONG iResult = TakeReading(&value);
    if (iResult != 0) {
      return iResult;
    }
    pValues->push_back(value);
    if (CancelSeen()) {
      break;
    }
  }
  return 0;
}

LONG Measure::TakeReading(MeasureValue* pValue) {
  LONG iResult = NO_VALID_READING;
  for (int i = 0; i < READING_ATTEMPTS && iResult == NO_VALID_READING; ++i) {
    iResult = TryReading(pValue);
  }
  return iResult;
}

LONG Measure::TryReading(MeasureValue* pValue) {
  Reading dark;
  Reading light;
  pValue->dTurbidity = 0.0;
  const DWORD dwResult = InOrder([&] { return ReadWithShutter(m_Unit, m_Detectors, Shutter::Closed, &dark); },
                                 [&] { return m_Request.m_bTurbidity ? ReadTurbidity(&pValue->dTurbidity) : 0; },
                                 [&] { return ReadWithShutter(m_Unit, m_Detectors, Shutter::Open, &light); });
  if (dwResult != 0) {
    return static_cast<LONG>(dwResult);
  }
  return TakeOver("Measure", WithoutDark(light, dark), pValue) ? 0 : NO_VALID_READING;
}

DWORD Measure::ReadTurbidity(double* pTurbidity) {
  return InOrder([&] { return m_Unit.SetTurbidityPower(1); }, [&] { return m_Unit.SetTurbidityGain(FALSE); },
                 [&] { return m_Detectors.GetTurbidity(pTurbidity); });
}

void Measure::Deliver(std::size_t nIndex, const MeasureValues& values) {
  const auto dCount = static_cast<double>(m_Request.m_Wavelengths.size());
  const auto dwPercent = static_cast<DWORD>(static_cast<double>(nIndex + 1) * 100.0 / dCount);
  const DWORD dwId = m_Request.m_dwRequestId;
  m_Sink.Notify(
      {[&](IPhotometerSink& sink) { sink.OnResult(dwId, &values); }, NotifyCall(dwId, NOTIFY_MEASURED, dwPercent)});
  NoteActivity();
}

void Measure::Finish(LONG iResult) {
  m_End.Report("Measure", iResult);
  m_End.MakeSafe();
  if (m_bCanceled) {
    m_End.NotifyCancelled(m_Request.m_dwRequestId);
    LogPhotometer("[Measure] Measurement was canceled.");
  }
  m_End.React(iResult);
  m_End.GiveBack();
  LogPhotometerF(TRUE, "[Measure] [%d] Thread closed, iResult= %d", static_cast<int>(m_Request.m_dwRequestId), iResult);
}

}  // namespace photometer
