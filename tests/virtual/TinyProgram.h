/// A program to be tried with failing calls. When its write fails, it forgets its port; that is the fault to be found.
#pragma once

#include "platform/Platform.h"

namespace virtualtest {

/// Writes twice on the port. The call that failed; empty: none.
inline std::string RunTinyProgram(bool bDrain) {
  using namespace photometer;
  using namespace photometer::platform;
  const HANDLE hEvent = CreateEventW(TRUE, FALSE, nullptr);
  if (hEvent == 0) {
    return "event";
  }
  CloseHandle(hEvent);
  const HANDLE hPort = CreateFileW(u"COM2:");
  if (hPort == INVALID_HANDLE_VALUE) {
    return "port";
  }
  if (bDrain) {
    PurgeComm(hPort, PURGE_RXCLEAR);
  }
  for (int i = 0; i < 2; ++i) {
    DWORD dwWritten = 0;
    if (WriteFile(hPort, "$a\r", 3, &dwWritten) == FALSE) {
      return "write";
    }
  }
  CloseHandle(hPort);
  return "";
}

}  // namespace virtualtest
