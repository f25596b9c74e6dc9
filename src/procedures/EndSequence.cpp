#include "procedures/EndSequence.h"

#include "logging/LogFiles.h"

namespace photometer {

bool EndSequence::NotifyFinished(DWORD dwRequestId) {
  if (m_State.IsCancelled()) {
    return false;
  }
  m_Sink.NotifyCode(dwRequestId, NOTIFY_FINISHED, 100);
  return true;
}

void EndSequence::NotifyCancelled(DWORD dwRequestId) { m_Sink.NotifyCode(dwRequestId, NOTIFY_CANCELLED, 100); }

void EndSequence::Report(const char* procedure, LONG iResult) {
  if (iResult != 0 && !m_State.IsStopping()) {
    ReportError(procedure, m_State.LastCommand().c_str(), iResult);
  }
}

void EndSequence::MakeSafe() { m_Unit.MakeSafe(); }

void EndSequence::React(LONG iResult) {
  if (iResult != 0) {
    m_Link.HandleInstrumentError(static_cast<DWORD>(iResult));
  }
}

void EndSequence::GiveBack() {
  const DWORD dwNow = GetTickCount();
  const auto state = m_State.Lock();
  state->m_Status.bBusy = FALSE;
  state->m_Status.bCancel = FALSE;
  state->m_Status.dwLastActivityTick = dwNow;
}

}  // namespace photometer
