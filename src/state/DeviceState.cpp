#include "state/DeviceState.h"

namespace photometer {

DeviceState::DeviceState() : m_csState{} { InitializeCriticalSection(&m_csState, "m_csState"); }

DeviceState::~DeviceState() {
  CloseEvents();
  DeleteCriticalSection(&m_csState);
}

BOOL DeviceState::IsCancelled() { return Lock()->m_Status.bCancel; }

void DeviceState::SetLastCommand(std::string_view name) { Lock()->m_strLastCommand = name; }

std::string DeviceState::LastCommand() { return Lock()->m_strLastCommand; }

std::array<std::atomic<HANDLE>*, 5> DeviceState::Events() {
  return {&m_hStopEvent, &m_hCancelEvent, &m_hPumpCancelEvent, &m_hSipperLostEvent, &m_hWarmUpDoneEvent};
}

BOOL DeviceState::CreateEvents() {
  for (std::atomic<HANDLE>* const phEvent : Events()) {
    *phEvent = CreateEventW(TRUE, FALSE, nullptr);
    if (*phEvent == 0) {
      return FALSE;
    }
  }
  return TRUE;
}

void DeviceState::CloseEvents() {
  const auto state = Lock();
  for (std::atomic<HANDLE>* const phEvent : Events()) {
    if (const HANDLE hEvent = phEvent->exchange(0); hEvent != 0) {
      CloseHandle(hEvent);
    }
  }
}

void DeviceState::Signal(Event event) {
  const auto state = Lock();
  if (const HANDLE hEvent = (this->*event)(); hEvent != 0) {
    SetEvent(hEvent);
  }
}

void DeviceState::Reset(Event event) {
  const auto state = Lock();
  if (const HANDLE hEvent = (this->*event)(); hEvent != 0 && !IsStopping()) {
    ResetEvent(hEvent);
  }
}

void DeviceState::RaiseStop() {
  m_bStopThreads = TRUE;  // first: no reset follows the signals
  const auto state = Lock();
  for (const std::atomic<HANDLE>* const phEvent : Events()) {
    if (const HANDLE hEvent = *phEvent; hEvent != 0) {
      SetEvent(hEvent);
    }
  }
}

BOOL DeviceState::Pause(DWORD dwMilliseconds) const {
  if (m_bStopThreads) {
    return FALSE;
  }
  const HANDLE hStopEvent = StopEvent();
  if (hStopEvent == 0 || WaitForSingleObject(hStopEvent, dwMilliseconds) == WAIT_FAILED) {
    Sleep(dwMilliseconds);  // without the event the pause still has its length: no caller may spin
  }
  return m_bStopThreads ? FALSE : TRUE;
}

}  // namespace photometer
