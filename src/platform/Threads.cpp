#include <utility>

#include "platform/Platform.h"

namespace photometer::platform {

HANDLE CreateThread(std::function<void()> body, const char* name, DWORD* pThreadId, CallSite site) {
  if (CallFails(LayerCall::CreateThread, site)) {
    return 0;
  }
  return CurrentBoard().GetKernel().CreateThread({std::move(body), name == nullptr ? "" : name}, pThreadId);
}

DWORD GetCurrentThreadId() { return CurrentBoard().GetKernel().GetCurrentThreadId(); }

HANDLE CreateEventW(BOOL bManualReset, BOOL bInitialState, const char16_t* name, CallSite site) {
  if (CallFails(LayerCall::CreateEventW, site)) {
    return 0;
  }
  const std::u16string text = name == nullptr ? std::u16string() : std::u16string(name);
  return CurrentBoard().GetKernel().CreateEvent(bManualReset != FALSE, bInitialState != FALSE, text);
}

BOOL EventModify(HANDLE hEvent, DWORD dwAction, CallSite site) {
  const bool bKnown = dwAction == EVENT_SET || dwAction == EVENT_RESET;
  if (!bKnown || CallFails(LayerCall::EventModify, site)) {
    return FALSE;
  }
  const EventAction action = dwAction == EVENT_SET ? EventAction::Set : EventAction::Reset;
  return CurrentBoard().GetKernel().ModifyEvent(hEvent, action) ? TRUE : FALSE;
}

BOOL SetEvent(HANDLE hEvent, CallSite site) { return EventModify(hEvent, EVENT_SET, site); }

BOOL ResetEvent(HANDLE hEvent, CallSite site) { return EventModify(hEvent, EVENT_RESET, site); }

DWORD WaitForSingleObject(HANDLE handle, DWORD dwMilliseconds, CallSite site) {
  return WaitForMultipleObjects(1, &handle, dwMilliseconds, site);
}

DWORD WaitForMultipleObjects(DWORD dwCount, const HANDLE* pHandles, DWORD dwMilliseconds, CallSite site) {
  const bool bValid = dwCount > 0 && dwCount <= MAXIMUM_WAIT_OBJECTS && pHandles != nullptr;
  if (!bValid || CallFails(LayerCall::WaitForMultipleObjects, site)) {
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
