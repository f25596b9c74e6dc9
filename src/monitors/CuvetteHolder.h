/// The cuvette holder: three switches on the board's input pins say which cuvette is inserted.
///
/// `GetCuvetteState` reads the switches now. The reader thread polls them every 20 ms and reports a pattern that has
/// been stable for five polls: it keeps the cuvette size of the device status current and calls `OnCuvetteChanged`.
#pragma once

#include <atomic>
#include <optional>

#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

/// Code of a cuvette from the levels of pins 10, 11 and 12: −1 fixation, 0 none, 10, 14, 20, 40, 50. `bUV` selects the
/// coding of the instrument. A level that is neither 0 nor 1 makes it −1.
LONG DecodeCuvetteState(DWORD dwP10, DWORD dwP11, DWORD dwP12, BOOL bUV);

/// Takes the bounce out of the polled codes.
class CuvetteDebounce {
 public:
  /// One poll. The code, when it has just become stable and differs from the one reported before.
  std::optional<LONG> Poll(LONG iState);

 private:
  LONG m_iCandidate = 0;
  LONG m_iReported = 0;
  int m_iCount = 0;
  bool m_bChanging = false;
};

class CuvetteHolder {
 public:
  CuvetteHolder(DeviceState& state, HostSink& sink) : m_State(state), m_Sink(sink) {}

  /// Opens the pins and switches the holder's output on. False: a step failed; nothing stays open.
  BOOL OpenCuvetteGpio();
  void CloseCuvetteGpio();

  /// Reads the switches. Without pins: 0. State lock.
  LONG GetCuvetteState();
  /// The code in the device status. State lock.
  LONG GetCuvetteSize();
  /// Stores a code, and reports it when it is new: sink lock, after the state lock.
  void SetCuvetteState(LONG iState);

  /// Thread procedure. Ends with the stop event, or when the event that makes it poll at once cannot be created.
  void CuvetteReader();

 private:
  void Poll(CuvetteDebounce& debounce);

  DeviceState& m_State;
  HostSink& m_Sink;
  std::atomic<HANDLE> m_hGpio{INVALID_HANDLE_VALUE};
};

}  // namespace photometer
