/// A program to be tried with failing calls. When its write fails, it forgets its port; that is the fault to be found.
#pragma once

#include "platform/Platform.h"

namespace virtualtest {

/// Writes `nTimes` on the port. The call that failed; empty: none.
inline std::string RunTinyProgram(int nTimes, bool bDrain) {
  using namespace photometer;
  using namespace photometer::platform;
  const HANDLE hEvent = CreateEventW(TRUE, FALSE, nullptr);
  if (hEvent == 0) {
    return "event";
  }
  const HANDLE hPort = CreateFileW(u"COM2:");
  if (hPort == INVALID_HANDLE_VALUE) {
    CloseHandle(hEvent);
    return "port";
  }
  std::string failed;
  if (bDrain) {
    PurgeComm(hPort, 8);
  }
  for (int i = 0; i < nTimes && failed.empty(); ++i) {
    DWORD dwWritten = 0;
    failed = WriteFile(hPort, "$a\r", 3, &dwWritten) != FALSE ? "" : "write";
  }
  CloseHandle(hEvent);
  if (failed.empty()) {
    CloseHandle(hPort);
  }
  return failed;
}

}  // namespace virtualtest
