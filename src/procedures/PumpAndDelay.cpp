#include "procedures/PumpAndDelay.h"

#include "logging/LogFiles.h"

namespace photometer {

bool PumpAndDelay::Run(LONG* pResult) {
  *pResult = 0;
  TakeSettings();
  const bool bDraw = IsPumpWanted() && !m_bCycleReported;
  if (bDraw) {
    if (const DWORD dwResult = DrawSample(); dwResult != 0) {
      *pResult = IsPumpStopCode(dwResult) ? 0 : static_cast<LONG>(dwResult);
      return false;
    }
  }
  m_State.Lock()->m_PumpInfo.m_bPumpCycleReported = FALSE;
  if (bDraw || m_bCycleReported) {
    LogPhotometerF(FALSE, "[Measure] bSleep= TRUE, DelayTime= %d", static_cast<int>(m_dwDelayTime));
    m_Pumps.DelayCountdown(m_dwDelayTime, m_dwRequestId);
  }
  return true;
}

void PumpAndDelay::TakeSettings() {
  const auto state = m_State.Lock();
  m_dwRequestId = state->m_MeasureRequest.m_dwRequestId;
  m_dwPumpProgram = state->m_MeasureRequest.m_dwPumpProgram;
  m_bPumpDefaults = state->m_MeasureRequest.m_bPumpDefaults != 0;
  m_bCycleReported = state->m_PumpInfo.m_bPumpCycleReported != 0;
  m_iOperatingMode = state->m_PumpInfo.m_iOperatingMode;
  m_dwPumpTime = state->m_Params.PumpTime;
  m_dwPumpParam2 = state->m_Params.PumpParam2;
  m_dwDelayTime = state->m_Params.DelayTime;
}

bool PumpAndDelay::IsPumpWanted() {
  if (!m_Pumps.IsPumpInUse()) {
    return false;
  }
  if (m_iOperatingMode != MODE_ZQ_420) {
    return true;
  }
  LogPhotometer("[Measure] use Pump ZQ420...");
  if (m_bPumpDefaults) {
    return true;
  }
  if (m_dwPumpProgram == 0) {
    return false;
  }
  AskHost();
  return true;
}

void PumpAndDelay::AskHost() {
  m_Sink.Notify([this](IPhotometerSink& sink) {
    sink.QueryPumpProgram(m_dwPumpProgram, &m_dwPumpTime, &m_dwPumpParam2, &m_dwDelayTime);
  });
}

DWORD PumpAndDelay::DrawSample() {
  if (const DWORD dwResult = m_Pumps.SetPump(m_dwPumpTime, m_dwPumpParam2); dwResult != 0) {
    return dwResult;
  }
  LogPhotometerF(FALSE, "[Measure] start pumping... PumpTime= %d", static_cast<int>(m_dwPumpTime));
  const DWORD dwResult = m_Pumps.Pump(m_dwPumpTime);
  if (dwResult != 0 && !m_State.IsStopping()) {
    LogPhotometerF(TRUE, "[Measure] Pump(), iResult= %d", static_cast<int>(dwResult));
  }
  return dwResult;
}

}  // namespace photometer
