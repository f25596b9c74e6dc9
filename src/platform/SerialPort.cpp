#include "platform/Platform.h"

namespace photometer::platform {

HANDLE CreateFileW(const char16_t* name) {
  return name == nullptr ? INVALID_HANDLE_VALUE : CurrentBoard().GetSerialPorts().Open(name);
}

BOOL GetCommState(HANDLE hPort, DCB* pState) {
  return pState != nullptr && CurrentBoard().GetSerialPorts().GetState(hPort, pState) ? TRUE : FALSE;
}

BOOL SetCommState(HANDLE hPort, const DCB* pState) {
  return pState != nullptr && CurrentBoard().GetSerialPorts().SetState(hPort, *pState) ? TRUE : FALSE;
}

BOOL SetCommMask(HANDLE hPort, DWORD dwMask) {
  return CurrentBoard().GetSerialPorts().SetMask(hPort, dwMask) ? TRUE : FALSE;
}

BOOL SetCommTimeouts(HANDLE hPort, const COMMTIMEOUTS* pTimeouts) {
  return pTimeouts != nullptr && CurrentBoard().GetSerialPorts().SetTimeouts(hPort, *pTimeouts) ? TRUE : FALSE;
}

BOOL PurgeComm(HANDLE hPort, DWORD dwFlags) {
  return CurrentBoard().GetSerialPorts().Purge(hPort, dwFlags) ? TRUE : FALSE;
}

BOOL ReadFile(HANDLE hPort, void* pBuffer, DWORD dwBytes, DWORD* pBytesRead) {
  return CurrentBoard().GetSerialPorts().Read(hPort, pBuffer, dwBytes, pBytesRead) ? TRUE : FALSE;
}

BOOL WriteFile(HANDLE hPort, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten) {
  return CurrentBoard().GetSerialPorts().Write(hPort, pBuffer, dwBytes, pBytesWritten) ? TRUE : FALSE;
}

}  // namespace photometer::platform
