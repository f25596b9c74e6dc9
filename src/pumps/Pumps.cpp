#include "pumps/Pumps.h"

#include <array>

#include "logging/LogFiles.h"
#include "optics/InOrder.h"
#include "pumps/PumpExchange.h"
#include "state/Deadline.h"

namespace photometer {

namespace {

/// Cuvette codes: the first of an inserted cuvette, and the one into which no pump can draw.
constexpr LONG FIRST_CUVETTE = 1;
constexpr LONG CUVETTE_WITHOUT_FLOW = 14;

constexpr DWORD LARGEST_PARAMETER = 999;
/// Between two calls of the countdown, ms.
constexpr DWORD COUNTDOWN_STEP = 1000;

constexpr std::array<PumpAnswer, 1> ACKNOWLEDGED{{{"\x02h;", 0}}};
constexpr PumpDialogue SET_PUMP{.answers = ACKNOWLEDGED, .dwSilence = 532, .dwTooLong = 533, .dwWrite = 535};
constexpr DWORD SET_PUMP_RANGE = 531;
constexpr PumpDialogue UPDATE_PARAMETERS{.answers = ACKNOWLEDGED, .dwSilence = 542, .dwTooLong = 543, .dwWrite = 545};
constexpr DWORD UPDATE_PARAMETERS_RANGE = 541;

constexpr DWORD ZQ410_SILENCE = 512;
constexpr DWORD ZQ410_FAILED = 514;
constexpr std::array<PumpAnswer, 2> CYCLE_ENDED{{{"\x02h3;a\x03", ZQ410_FAILED}, {"\x02h1;b\x03", 0}}};
constexpr PumpDialogue PUMP_CYCLE{
    .answers = CYCLE_ENDED, .dwSilence = ZQ410_SILENCE, .dwTooLong = 513, .dwWrite = 0, .bAnswersKeepAlive = true};

}  // namespace

bool IsPumpStopCode(DWORD dwResult) {
  return (dwResult >= ZQ410_SILENCE && dwResult <= ZQ410_FAILED) || dwResult == ZQ410_CANCELLED ||
         (dwResult >= ZQ420_SILENCE && dwResult <= ZQ420_FAULT_6);
}

bool Pumps::IsPumpInUse() {
  const LONG iCuvette = m_Cuvette.GetCuvetteState();
  const auto state = m_State.Lock();
  return state->m_Status.bSipperDetected && !state->m_PumpInfo.m_bPumpDisabled && iCuvette >= FIRST_CUVETTE &&
         iCuvette != CUVETTE_WITHOUT_FLOW;
}

// ---- exchanges ----

DWORD Pumps::SetPump(DWORD dwPumpTime, DWORD dwPumpParam2) {
  if (m_State.Lock()->m_PumpInfo.m_iOperatingMode == MODE_ZQ_420) {
    return 0;
  }
  const DWORD dwResult = SendParameters(dwPumpTime, dwPumpParam2, SET_PUMP, SET_PUMP_RANGE);
  NKDbgPrintfW("[SetPump] returns %d\n\r", static_cast<int>(dwResult));
  return dwResult;
}

DWORD Pumps::SendParameters(DWORD dwPumpTime, DWORD dwPumpParam2, const PumpDialogue& dialogue, DWORD dwRange) {
  if (dwPumpTime > LARGEST_PARAMETER || dwPumpParam2 > LARGEST_PARAMETER) {
    return dwRange;
  }
  const std::string command = Framed(PumpParameterText(dwPumpTime, dwPumpParam2));
  return Converse(m_State, m_External.Line(), command, dialogue, PUMP_SILENCE_LIMIT);
}

DWORD Pumps::Pump(DWORD dwSeconds) {
  const bool bZQ410 = m_State.Lock()->m_PumpInfo.m_iOperatingMode == MODE_ZQ_410;
  const DWORD dwResult = bZQ410 ? PumpZQ410() : PumpZQ420(dwSeconds);
  if (IsPumpCancelled(dwResult)) {
    const auto state = m_State.Lock();
    state->m_Status.bCancel = state->m_Status.bCancel || !m_State.IsStopping();
  } else if (dwResult != 0 && !bZQ410) {
    m_Sink.Notify([dwResult](IPhotometerSink& sink) { sink.OnPumpError(0, dwResult); });
  }
  return dwResult;
}

DWORD Pumps::PumpZQ410() {
  std::uint64_t nLimit = PUMP_SILENCE_LIMIT;
  {
    const auto state = m_State.Lock();
    nLimit += (std::uint64_t{state->m_Params.PumpTime} + state->m_Params.PumpParam2) * MS_PER_SECOND;
  }
  DWORD dwResult = Converse(m_State, m_External.Line(), Framed("H1;a"), PUMP_CYCLE, nLimit);
  if (m_State.IsCancelled()) {
    dwResult = ZQ410_CANCELLED;
  }
  NKDbgPrintfW("[PumpZQ410] returns %d\n\r", static_cast<int>(dwResult));
  return dwResult;
}

DWORD Pumps::PumpZQ420(DWORD dwSeconds, HANDLE hOwnCancel) {
  if (!m_State.Lock()->m_Status.bSipperDetected) {
    return ZQ420_LOST;
  }
  const DWORD dwResult = ZQ420Cycle(m_State, m_Sipper.Line(), dwSeconds, hOwnCancel).Run();
  NKDbgPrintfW("[PumpZQ420] returns %d\n\r", static_cast<int>(dwResult));
  return dwResult;
}

// ---- steps of procedures ----

DWORD Pumps::PumpStep(const PhotometerParameters& params, DWORD dwRequestId) {
  const bool bPumped = m_State.Lock()->m_PumpInfo.m_bPumpCycleReported != FALSE;
  const DWORD dwResult = InOrder([&] { return bPumped ? 0 : SetPump(params.PumpTime, params.PumpParam2); },
                                 [&] { return bPumped ? 0 : Pump(params.PumpTime); });
  if (dwResult == 0) {
    m_State.Lock()->m_PumpInfo.m_bPumpCycleReported = FALSE;
    DelayCountdown(params.DelayTime, dwRequestId);
  }
  return dwResult;
}

void Pumps::DelayCountdown(DWORD dwSeconds, DWORD dwRequestId) {
  {
    const auto state = m_State.Lock();
    if (!state->m_Status.bCancel) {
      m_State.Reset(&DeviceState::CancelEvent);
    }
  }
  for (DWORD n = dwSeconds; n > 0; n = WaitForNextSecond() ? n - 1 : 0) {
    m_Sink.Notify([=](IPhotometerSink& sink) { sink.OnDelayCountdown(dwRequestId, n); });
  }
  m_Sink.Notify([=](IPhotometerSink& sink) { sink.OnDelayCountdown(dwRequestId, 0); });
}

bool Pumps::WaitForNextSecond() {
  const HANDLE hCancel = m_State.CancelEvent();
  return hCancel != 0 && !m_State.IsStopping() && WaitForSingleObject(hCancel, COUNTDOWN_STEP) == WAIT_TIMEOUT;
}

// ---- parameters from the host ----

HRESULT Pumps::UpdatePumpParameters(DWORD dwPumpTime, DWORD dwPumpParam2) {
  const auto state = m_State.Lock();
  if (!state->m_Status.bSipperDetected) {
    return S_OK;
  }
  state->m_Params.PumpTime = dwPumpTime;
  state->m_Params.PumpParam2 = dwPumpParam2;
  if (static_cast<LONG>(state->m_Params.dwOperatingMode) != MODE_ZQ_410) {
    return S_OK;
  }
  return m_Threads.Start("UpdatePumpParProc", [this] { UpdatePumpParProc(); }) ? S_OK : E_FAIL;
}

void Pumps::UpdatePumpParProc() {
  const PhotometerParameters params = m_State.Lock()->m_Params;
  const DWORD dwResult = SendParameters(params.PumpTime, params.PumpParam2, UPDATE_PARAMETERS, UPDATE_PARAMETERS_RANGE);
  if (dwResult != 0 && !m_State.IsStopping()) {
    ReportUpdate(dwResult);
  }
  NKDbgPrintfW("[UpdatePumpParProc] THREAD closed, returns %d\n\r", static_cast<int>(dwResult));
}

void Pumps::ReportUpdate(DWORD dwResult) {
  ReportError("Pump", "UpdatePumpParProc", static_cast<int>(dwResult));
  // Beside a procedure the optical unit is the procedure's, from the moment of its start.
  bool bIdle = false;
  {
    const auto state = m_State.Lock();
    bIdle = !state->m_Status.bBusy;
    if (bIdle) {
      m_Link.ClaimSwitchOff();
    }
  }
  if (bIdle) {
    m_Link.SendWaiting();
  }
  m_Sink.Notify([dwResult](IPhotometerSink& sink) { sink.OnError(0, dwResult); });
}

}  // namespace photometer
