#include "procedures/Turbidity.h"

#include "logging/LogFiles.h"
#include "optics/InOrder.h"
#include "optics/UnitValues.h"

namespace photometer {

namespace {

/// Before the first command, ms.
constexpr DWORD START_PAUSE = 500;
/// For the lamp of the turbidity channel, ms.
constexpr DWORD SETTLE_PAUSE = 300;

}  // namespace

void MarkAsTurbidity(MeasureValue* pValue) {
  pValue->dWavelength = TURBIDITY_WAVELENGTH;
  pValue->dValue = 1.0;
  pValue->dValueRef = 1.0;
}

DWORD SetTurbidityRange(DeviceState& state, OpticalUnit& unit, const TurbidityRange& range) {
  const DWORD dwResult = InOrder([&] { return unit.SetTurbidityPower(range.dwPower); },
                                 [&] { return unit.SetTurbidityGain(range.bHighGain); });
  if (dwResult == 0) {
    state.Pause(SETTLE_PAUSE);
  }
  return dwResult;
}

void Turbidity::MeasureTurbidityProc() {
  NKDbgPrintfW("[MeasureTurbidityProc] THREAD MeasureTurbidityProc started...");
  m_Request = m_State.Lock()->m_TurbidityRequest;
  m_Sink.NotifyCode(m_Request.m_dwRequestId, NOTIFY_STARTED, 0);
  MeasureValues values;
  const LONG iResult = CancelSeen() ? 0 : TakeReadings(&values);
  if (iResult == 0 && !CancelSeen()) {
    Deliver(values);
  }
  Finish(iResult);
}

LONG Turbidity::TakeReadings(MeasureValues* pValues) {
  m_State.Pause(START_PAUSE);
  return static_cast<LONG>(
      InOrder([&] { return m_Unit.SetADSpeed(READING_AD_SPEED); }, [&] { return m_Unit.SetShutter(TRUE); },
              [&] { return TakeReading(LOW_TURBIDITY_RANGE, m_Request.m_dwTag1, pValues); },
              [&] { return m_bCanceled ? 0 : TakeReading(HIGH_TURBIDITY_RANGE, m_Request.m_dwTag2, pValues); },
              [&] { return m_bCanceled ? 0 : m_Unit.SetShutter(FALSE); }));
}

DWORD Turbidity::TakeReading(const TurbidityRange& range, DWORD dwTag, MeasureValues* pValues) {
  if (const DWORD dwResult = SetTurbidityRange(m_State, m_Unit, range); dwResult != 0 || CancelSeen()) {
    return dwResult;
  }
  MeasureValue value{};
  value.dwTag = dwTag;
  MarkAsTurbidity(&value);
  const DWORD dwResult = m_Detectors.GetTurbidity(&value.dTurbidity);
  if (dwResult == 0) {
    pValues->push_back(value);
  }
  return dwResult;
}

void Turbidity::Deliver(const MeasureValues& values) {
  const DWORD dwId = m_Request.m_dwRequestId;
  m_Sink.Notify({[&](IPhotometerSink& sink) { sink.OnResult(dwId, &values); }, NotifyCall(dwId, NOTIFY_FINISHED, 100)});
}

void Turbidity::Finish(LONG iResult) {
  m_End.Report("MeasureTurbidity", iResult);
  if (EndsCancelled(iResult)) {
    m_End.NotifyCancelled(m_Request.m_dwRequestId);
    LogPhotometer("[MeasureTurbidityProc] Measurement was canceled.");
  }
  m_End.React(iResult);
  m_End.GiveBack();
  NKDbgPrintfW("[MeasureTurbidityProc] THREAD MeasureTurbidityProc closed.\n\r");
}

}  // namespace photometer
