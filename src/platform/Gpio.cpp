#include "platform/Platform.h"

namespace photometer::platform {

HANDLE GpioOpenHandle(CallSite site) {
  return CallFails(LayerCall::GpioOpenHandle, site) ? INVALID_HANDLE_VALUE : CurrentBoard().GetPins().OpenHandle();
}

BOOL GpioSetupPin(HANDLE hGpio, DWORD dwPort, DWORD dwPin, DWORD dwMode, CallSite site) {
  if (CallFails(LayerCall::GpioSetupPin, site)) {
    return FALSE;
  }
  return CurrentBoard().GetPins().SetupPin(hGpio, dwPort, dwPin, dwMode) ? TRUE : FALSE;
}

BOOL GpioSetOutput(HANDLE hGpio, DWORD dwPort, DWORD dwPin, DWORD dwLevel, CallSite site) {
  if (CallFails(LayerCall::GpioSetOutput, site)) {
    return FALSE;
  }
  return CurrentBoard().GetPins().SetOutput(hGpio, dwPort, dwPin, dwLevel) ? TRUE : FALSE;
}

DWORD GpioGetInput(HANDLE hGpio, DWORD dwPort, DWORD dwPin, CallSite site) {
  if (CallFails(LayerCall::GpioGetInput, site)) {
    return UnreadablePin;
  }
  return CurrentBoard().GetPins().GetInput(hGpio, dwPort, dwPin);
}

BOOL GpioCloseHandle(HANDLE hGpio) { return CurrentBoard().GetPins().CloseHandle(hGpio) ? TRUE : FALSE; }

}  // namespace photometer::platform
