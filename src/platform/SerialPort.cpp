#include "platform/Platform.h"

namespace photometer::platform {

HANDLE CreateFileW(const char16_t* name, CallSite site) {
  if (name == nullptr || CallFails(LayerCall::CreateFileW, site)) {
    return INVALID_HANDLE_VALUE;
  }
  return CurrentBoard().GetSerialPorts().Open(name);
}

BOOL GetCommState(HANDLE hPort, DCB* pState, CallSite site) {
  if (CallFails(LayerCall::GetCommState, site)) {
    return FALSE;
  }
  return pState != nullptr && CurrentBoard().GetSerialPorts().GetState(hPort, pState) ? TRUE : FALSE;
}

BOOL SetCommState(HANDLE hPort, const DCB* pState, CallSite site) {
  if (CallFails(LayerCall::SetCommState, site)) {
    return FALSE;
  }
  return pState != nullptr && CurrentBoard().GetSerialPorts().SetState(hPort, *pState) ? TRUE : FALSE;
}

BOOL SetCommMask(HANDLE hPort, DWORD dwMask, CallSite site) {
  if (CallFails(LayerCall::SetCommMask, site)) {
    return FALSE;
  }
  return CurrentBoard().GetSerialPorts().SetMask(hPort, dwMask) ? TRUE : FALSE;
}

BOOL SetCommTimeouts(HANDLE hPort, const COMMTIMEOUTS* pTimeouts, CallSite site) {
  if (CallFails(LayerCall::SetCommTimeouts, site)) {
    return FALSE;
  }
  return pTimeouts != nullptr && CurrentBoard().GetSerialPorts().SetTimeouts(hPort, *pTimeouts) ? TRUE : FALSE;
}

BOOL PurgeComm(HANDLE hPort, DWORD dwFlags, CallSite site) {
  if (CallFails(LayerCall::PurgeComm, site)) {
    return FALSE;
  }
  return CurrentBoard().GetSerialPorts().Purge(hPort, dwFlags) ? TRUE : FALSE;
}

BOOL ReadFile(HANDLE hPort, void* pBuffer, DWORD dwBytes, DWORD* pBytesRead, CallSite site) {
  if (CallFails(LayerCall::ReadFile, site)) {
    *pBytesRead = 0;
    return FALSE;
  }
  return CurrentBoard().GetSerialPorts().Read(hPort, pBuffer, dwBytes, pBytesRead) ? TRUE : FALSE;
}

BOOL WriteFile(HANDLE hPort, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten, CallSite site) {
  if (CallFails(LayerCall::WriteFile, site)) {
    *pBytesWritten = 0;
    return FALSE;
  }
  return CurrentBoard().GetSerialPorts().Write(hPort, pBuffer, dwBytes, pBytesWritten) ? TRUE : FALSE;
}

}  // namespace photometer::platform
