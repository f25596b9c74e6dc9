#include "HostSink.h"

#include "platform/Sanitizers.h"

namespace explorer {

using namespace photometer;  // NOLINT(google-build-using-namespace): the interface's own vocabulary
using photometer::platform::UnobservedScope;

void HostSink::CheckForbidden(const char* name) {
  const UnobservedScope scope;
  if (m_ledger.CallbacksForbidden()) {
    m_ledger.NoteViolation("no callback after Shutdown", std::string(name) + " began after Shutdown was called");
  }
}

// The library's own lock orders callbacks; the sink's fields must not hide that it does not.
void HostSink::Enter(const char* name, std::int64_t a, std::int64_t b, std::int64_t c) {
  std::uint64_t nNumber = 0;
  {
    const UnobservedScope scope;
    CheckForbidden(name);
    const DWORD dwThread = m_kernel.GetCurrentThreadId();
    if (m_iDepth > 0 && m_dwThread != dwThread) {
      m_ledger.NoteViolation("callbacks never overlap", std::string(name) + " began inside another thread's callback");
    }
    m_ledger.Note(EventKind::Callback, name, a, b, c);
    nNumber = ++m_nCallbacks;
    m_dwThread = dwThread;
    ++m_iDepth;
  }
  if (m_action) {
    m_action(nNumber);
  }
  const UnobservedScope scope;
  --m_iDepth;
}

void HostSink::OnNotify(DWORD dwRequestId, DWORD dwCode, DWORD dwValue) {
  Enter("OnNotify", dwRequestId, dwCode, dwValue);
}

void HostSink::OnResult(DWORD dwRequestId, const MeasureValues* pValues) {
  m_ledger.NoteResult(dwRequestId, *pValues);
  Enter("OnResult", dwRequestId, static_cast<std::int64_t>(pValues->size()));
}

void HostSink::OnCuvetteChanged(LONG iCuvetteSize) { Enter("OnCuvetteChanged", iCuvetteSize); }
void HostSink::OnError(DWORD dwRequestId, DWORD dwError) { Enter("OnError", dwRequestId, static_cast<LONG>(dwError)); }
void HostSink::OnSipperKeyB() { Enter("OnSipperKeyB"); }
void HostSink::OnDelayCountdown(DWORD dwRequestId, DWORD dwSeconds) {
  Enter("OnDelayCountdown", dwRequestId, dwSeconds);
}

void HostSink::OnSystemCheckStatus(const SystemCheckStatus* pStatus) {
  Enter("OnSystemCheckStatus", pStatus->dwLampState, pStatus->dwFilterState, pStatus->dwDetectorState);
}

void HostSink::OnReferenceValues(const std::vector<WavelengthCalibrationEntry>* pValues) {
  {
    const UnobservedScope scope;
    m_references = *pValues;
  }
  Enter("OnReferenceValues", static_cast<std::int64_t>(pValues->size()));
}

void HostSink::OnExternalPortData(const char* pData, DWORD dwLength, std::string* pReply) {
  if (dwLength > 0 && pData[0] == '\x02') {
    *pReply = "ok";
  }
  Enter("OnExternalPortData", dwLength);
}

void HostSink::OnWavelengthCheckDue() { Enter("OnWavelengthCheckDue"); }

void HostSink::GetHostActivity(BOOL* pActive, LONG* pCount) {
  CheckForbidden("GetHostActivity");
  *pActive = FALSE;
  *pCount = 0;
}

void HostSink::GetHostBusy(BOOL* pBusy) {
  CheckForbidden("GetHostBusy");
  *pBusy = FALSE;
}

void HostSink::OnSipperPortLost() { Enter("OnSipperPortLost"); }
void HostSink::OnSipperTick() { Enter("OnSipperTick"); }
void HostSink::OnSipperCycleDone() { Enter("OnSipperCycleDone"); }
void HostSink::OnSipperInfoChanged() { Enter("OnSipperInfoChanged"); }
void HostSink::OnPumpError(DWORD dwRequestId, DWORD dwError) { Enter("OnPumpError", dwRequestId, dwError); }
void HostSink::OnLampSwitching(BOOL bSwitching) { Enter("OnLampSwitching", bSwitching); }
void HostSink::OnWarmUpCountdown(DWORD dwSeconds) { Enter("OnWarmUpCountdown", dwSeconds); }

void HostSink::QueryPumpProgram(DWORD dwProgram, DWORD* pPumpTime, DWORD* pPumpParam2, DWORD* pDelayTime) {
  *pPumpTime = 1;
  *pPumpParam2 = 1;
  *pDelayTime = 1;
  Enter("QueryPumpProgram", dwProgram);
}

void HostSink::OnFlushCompleted() { Enter("OnFlushCompleted"); }
void HostSink::OnSipperKeyA() { Enter("OnSipperKeyA"); }
void HostSink::OnUVLampReady(BOOL bReady) { Enter("OnUVLampReady", bReady); }
void HostSink::OnSipperConnectionChanged(BOOL bConnected) { Enter("OnSipperConnectionChanged", bConnected); }

void HostSink::GetUVLampWarmUpTime(DWORD* pSeconds) {
  *pSeconds = m_dwWarmUpTime;
  Enter("GetUVLampWarmUpTime");
}

DWORD HostSink::QueryCuvetteWait() {
  Enter("QueryCuvetteWait");
  return 0;
}

}  // namespace explorer
