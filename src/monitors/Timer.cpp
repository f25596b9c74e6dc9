#include "monitors/Timer.h"

#include <utility>

#include "logging/LogFiles.h"
#include "state/Deadline.h"

namespace photometer {

namespace {

/// From one tick to the next, ms.
constexpr DWORD PERIOD = 1000;
constexpr std::uint64_t SECONDS_PER_MINUTE = 60;
/// A lamp's seconds are written in portions: the registry must not be written every second.
constexpr DWORD LAMP_PORTION = 30;

/// Whole seconds since a tick. The stored tick is older than the clock: differences survive the counter's wrap.
DWORD SecondsSince(DWORD dwTick) { return static_cast<DWORD>((GetTickCount() - dwTick) / MS_PER_SECOND); }

}  // namespace

void Timer::LampCount::Count(bool bLit) {
  dwSeconds += bLit ? 1 : 0;
  if (dwSeconds >= LAMP_PORTION || (!bLit && !bKeepWhenOff)) {
    dwDue += std::exchange(dwSeconds, 0);
  }
}

void Timer::LampCount::Add() {
  if (const DWORD dwCount = std::exchange(dwDue, 0); dwCount != 0) {
    AddLampSeconds(name, dwCount);
  }
}

void Timer::Run() {
  LogPhotometer("Starting Thread [Timer] ...");
  while (m_State.Pause(PERIOD)) {
    RunTick();
  }
  NKDbgPrintfW("[Timer] Ending Timer thread.\n\r");
}

void Timer::RunTick() {
  AskHost();
  const Tick tick = Decide();
  m_Halogen.Add();
  m_Deuterium.Add();
  if (tick.bWarmedUp) {
    m_Sink.Notify([](IPhotometerSink& sink) { sink.OnUVLampReady(TRUE); });
  }
  if (tick.strLog != nullptr) {
    LogPhotometer(tick.strLog);
  }
  if (tick.bTurnOff) {
    TurnOff();
  }
  if (tick.bCheckDue) {
    RemindOfCheck();
  }
  SupervisePump();
}

void Timer::AskHost() {
  m_Sink.Query([this](IPhotometerSink& sink) { sink.GetHostActivity(&m_Host.bActive, &m_Host.iCount); });
  m_Sink.Query([this](IPhotometerSink& sink) { sink.GetHostBusy(&m_Host.bBusy); });
}

Timer::Tick Timer::Decide() {
  Tick tick;
  const auto state = m_State.Lock();
  const DWORD dwIdleSeconds = SecondsSince(state->m_Status.dwLastActivityTick);
  const bool bDeuterium = state->m_Cache[CacheEntry::UVLamp] > 0;
  m_Halogen.Count(state->m_Cache[CacheEntry::HalogenLamp] > 0);
  m_Deuterium.Count(bDeuterium);
  if (bDeuterium) {
    DecideLamp(*state, dwIdleSeconds, &tick);
  }
  tick.bCheckDue = IsCheckDue(*state, dwIdleSeconds);
  if (tick.bTurnOff) {
    m_Lamp.ClaimSwitchOff();
  }
  return tick;
}

void Timer::DecideLamp(GuardedState& state, DWORD dwIdleSeconds, Tick* pTick) {
  if (state.m_dwUVSession != 0) {
    DecideSession(state, pTick);
  } else if (dwIdleSeconds > state.m_Params.dwUVSessionTime) {
    pTick->bTurnOff = state.m_Status.bBusy == FALSE;
    pTick->strLog = "[Timer] end of UV session time";
  }
}

void Timer::DecideSession(GuardedState& state, Tick* pTick) {
  const DWORD dwBurning = SecondsSince(state.m_dwUVSessionStartTick);
  if (dwBurning > UV_BURNING_LIMIT) {
    pTick->bTurnOff = true;
    pTick->strLog = "[Timer] Roboter mode, end of burning time reached!";
  } else if (dwBurning > state.m_dwUVWarmUpLimit) {
    pTick->bWarmedUp = true;
    pTick->strLog = "[Timer][UV]  Roboter mode, UV lamp warming up ended!";
    state.m_dwUVWarmUpLimit = UV_BURNING_LIMIT;  // one notice a session: the lamp goes out before the next
  }
}

bool Timer::IsCheckDue(const GuardedState& state, DWORD dwIdleSeconds) const {
  const DWORD dwInterval = state.m_Params.dwWavelengthCheckInterval;
  const bool bHostActive = m_Host.bActive && m_Host.iCount > 0;
  return !state.m_Status.bBusy && dwInterval != 0 && !bHostActive && !m_Host.bBusy &&
         dwIdleSeconds > dwInterval * SECONDS_PER_MINUTE;
}

void Timer::TurnOff() {
  LogPhotometer("[Timer] Turning off UV Lamp...");
  m_Lamp.SendSwitchOff();
  m_Deuterium.dwDue = std::exchange(m_Deuterium.dwSeconds, 0);
  m_Deuterium.Add();
  m_Sink.Notify([](IPhotometerSink& sink) { sink.OnUVLampReady(FALSE); });
}

void Timer::RemindOfCheck() {
  {
    const auto state = m_State.Lock();
    if (state->m_Status.bBusy) {
      return;
    }
    state->m_Status.dwLastActivityTick = GetTickCount();
  }
  LogPhotometer("[Timer] delegate WaveLengthCheck...");
  m_Sink.Notify([](IPhotometerSink& sink) { sink.OnWavelengthCheckDue(); });
}

void Timer::SupervisePump() {
  LONG iMode = 0;
  BOOL bDetected = FALSE;
  {
    const auto state = m_State.Lock();
    iMode = state->m_PumpInfo.m_iOperatingMode;
    bDetected = state->m_Status.bSipperDetected;
  }
  if (iMode == MODE_ZQ_410 && bDetected) {
    m_ExternalPort.SuperviseZQ410();
  } else if (iMode == MODE_ZQ_420) {
    m_SipperPort.SuperviseZQ420();
  }
}

}  // namespace photometer
