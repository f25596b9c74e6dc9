#include "platform/Platform.h"

namespace photometer::platform {

HANDLE GpioOpenHandle() { return CurrentBoard().GetPins().OpenHandle(); }

BOOL GpioSetupPin(HANDLE hGpio, DWORD dwPort, DWORD dwPin, DWORD dwMode) {
  return CurrentBoard().GetPins().SetupPin(hGpio, dwPort, dwPin, dwMode) ? TRUE : FALSE;
}

BOOL GpioSetOutput(HANDLE hGpio, DWORD dwPort, DWORD dwPin, DWORD dwLevel) {
  return CurrentBoard().GetPins().SetOutput(hGpio, dwPort, dwPin, dwLevel) ? TRUE : FALSE;
}

DWORD GpioGetInput(HANDLE hGpio, DWORD dwPort, DWORD dwPin) {
  return CurrentBoard().GetPins().GetInput(hGpio, dwPort, dwPin);
}

BOOL GpioCloseHandle(HANDLE hGpio) { return CurrentBoard().GetPins().CloseHandle(hGpio) ? TRUE : FALSE; }

}  // namespace photometer::platform
