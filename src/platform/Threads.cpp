#include <utility>

#include "platform/Platform.h"

namespace photometer::platform {

HANDLE CreateThread(std::function<void()> body, const char* name, DWORD* pThreadId) {
  return CurrentBoard().GetKernel().CreateThread({std::move(body), name == nullptr ? "" : name}, pThreadId);
}

DWORD GetCurrentThreadId() { return CurrentBoard().GetKernel().GetCurrentThreadId(); }

HANDLE CreateEventW(BOOL bManualReset, BOOL bInitialState, const char16_t* name) {
  const std::u16string text = name == nullptr ? std::u16string() : std::u16string(name);
  return CurrentBoard().GetKernel().CreateEvent(bManualReset != FALSE, bInitialState != FALSE, text);
}

BOOL EventModify(HANDLE hEvent, DWORD dwAction) {
  if (dwAction != EVENT_SET && dwAction != EVENT_RESET) {
    return FALSE;
  }
  const EventAction action = dwAction == EVENT_SET ? EventAction::Set : EventAction::Reset;
  return CurrentBoard().GetKernel().ModifyEvent(hEvent, action) ? TRUE : FALSE;
}

BOOL SetEvent(HANDLE hEvent) { return EventModify(hEvent, EVENT_SET); }

BOOL ResetEvent(HANDLE hEvent) { return EventModify(hEvent, EVENT_RESET); }

DWORD WaitForSingleObject(HANDLE handle, DWORD dwMilliseconds) {
  return WaitForMultipleObjects(1, &handle, dwMilliseconds);
}

DWORD WaitForMultipleObjects(DWORD dwCount, const HANDLE* pHandles, DWORD dwMilliseconds) {
  if (dwCount == 0 || dwCount > MAXIMUM_WAIT_OBJECTS || pHandles == nullptr) {
    return WAIT_FAILED;
  }
  return CurrentBoard().GetKernel().WaitForMultipleObjects({pHandles, dwCount}, dwMilliseconds);
}

void Sleep(DWORD dwMilliseconds) { CurrentBoard().GetKernel().Sleep(dwMilliseconds); }

BOOL CloseHandle(HANDLE handle) {
  Board& board = CurrentBoard();
  switch (KindOf(handle)) {
    case HandleKind::Kernel:
      return board.GetKernel().CloseHandle(handle) ? TRUE : FALSE;
    case HandleKind::SerialPort:
      return board.GetSerialPorts().Close(handle) ? TRUE : FALSE;
    case HandleKind::Pins:
    case HandleKind::RegistryKey:
      break;
  }
  return FALSE;
}

}  // namespace photometer::platform
