#include "procedures/WarmUp.h"

#include "logging/LogFiles.h"
#include "optics/InOrder.h"
#include "optics/UnitValues.h"

namespace photometer {

namespace {

/// Where the monochromator waits while the lamp warms up, nm.
constexpr double WARM_UP_WAVELENGTH = 190.0;

}  // namespace

HRESULT WarmUp::StartWarmUp() {
  const auto state = m_State.Lock();
  state->m_strLastCommand.clear();
  state->m_Status.bBusy = TRUE;
  state->m_Status.bCancel = FALSE;
  m_State.Reset(&DeviceState::CancelEvent);
  if (!m_Threads.Start("WarmUpProc", [this, n = state->m_dwUVLampSwitchOffs] { WarmUpProc(n); })) {
    state->m_Status.bBusy = FALSE;
    return E_FAIL;
  }
  m_State.Reset(&DeviceState::WarmUpDoneEvent);  // the thread signals it after it has taken the lock
  return S_OK;
}

void WarmUp::WarmUpProc(DWORD dwSwitchOffs) {
  LogPhotometerF(TRUE, "[WarmUpProc] ----->  Thread started");
  const DWORD dwResult =
      InOrder([&] { return PrepareOptics(); }, [&] { return m_Unit.LightDeuteriumLamp(dwSwitchOffs); });
  m_Unit.MakeSafe();
  GiveBack(dwResult);
  LogPhotometerF(TRUE, "[WarmUpProc] ----->  Thread closed with iResult= %d", static_cast<int>(dwResult));
  m_State.Signal(&DeviceState::WarmUpDoneEvent);
}

DWORD WarmUp::PrepareOptics() {
  return InOrder([&] { return m_Unit.SetMonochromatorSpeed(MOVE_SPEED); },
                 [&] { return m_Unit.SetADSpeed(READING_AD_SPEED); }, [&] { return m_Unit.SetMeasurementLength(1); },
                 [&] { return m_Unit.SetMirror(DEUTERIUM_PATH); },
                 [&] { return m_Unit.SetFilter(m_Model.GetFilterPosition(WARM_UP_WAVELENGTH)); },
                 [&] { return m_Unit.SetShutter(FALSE); }, [&] { return m_Unit.SetGain(TRUE); },
                 [&] { return m_Unit.MoveMonochromator(m_Model.GetMonochromatorPosition(WARM_UP_WAVELENGTH)); });
}

void WarmUp::GiveBack(DWORD dwResult) {
  const DWORD dwNow = GetTickCount();
  const auto state = m_State.Lock();
  state->m_Status.dwLastActivityTick = dwNow;
  state->m_Status.bCancel = FALSE;
  state->m_Status.bBusy = FALSE;
  if (dwResult != 0 && state->m_Cache[CacheEntry::UVLamp] != 1) {
    state->EndUVSession();  // no lamp burns that the timer could watch over
  }
}

}  // namespace photometer
