#include "procedures/UVLamp.h"

namespace photometer {

namespace {

/// Warm-up time of a session when the host names none, s.
constexpr DWORD SESSION_WARM_UP_TIME = 600;

}  // namespace

LONG UVLamp::SetUVLamp(BOOL bOn, DWORD dwSession) {
  if (bOn) {
    return SwitchOn(dwSession);
  }
  {
    const auto state = m_State.Lock();
    ClaimSwitchOff();
  }
  return SendSwitchOff();
}

LONG UVLamp::SwitchOn(DWORD dwSession) {
  if (!CanStart()) {
    return E_FAIL;
  }
  const DWORD dwWarmUpTime = dwSession != 0 ? AskWarmUpTime() : DEFAULT_WARM_UP_COUNTDOWN;
  const auto state = m_State.Lock();
  if (!CanStart()) {  // while the host was asked, a procedure has begun, or a Shutdown or the last Release
    return E_FAIL;
  }
  UVSession& session = *state;
  const UVSession before = session;
  session.m_dwWarmUpCountdown = dwWarmUpTime;
  if (dwSession != 0) {
    session = {dwSession, GetTickCount(), dwWarmUpTime, dwWarmUpTime};
  }
  const HRESULT result = m_WarmUp.StartWarmUp();
  if (result != S_OK) {
    session = before;
  }
  return result;
}

bool UVLamp::CanStart() {
  const auto state = m_State.Lock();
  return !state->m_Status.bBusy && m_Model.HasTable() && m_Link.IsOpen() && !m_State.IsStopping();
}

DWORD UVLamp::AskWarmUpTime() {
  DWORD dwSeconds = 0;
  m_Sink.Notify([&dwSeconds](IPhotometerSink& sink) { sink.GetUVLampWarmUpTime(&dwSeconds); });
  return dwSeconds != 0 ? dwSeconds : SESSION_WARM_UP_TIME;
}

void UVLamp::ClaimSwitchOff() {
  const auto state = m_State.Lock();
  state->m_Cache[CacheEntry::UVLamp] = 0;
  state->m_Cache[CacheEntry::Fan] = 0;
  state->EndUVSession();
  ++state->m_dwUVLampSwitchOffs;
  m_Link.Enqueue("$d0\r");
  m_Link.Enqueue("$f0\r");
}

BOOL UVLamp::SendSwitchOff() { return m_Link.SendWaiting(); }

}  // namespace photometer
