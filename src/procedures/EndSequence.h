/// What all procedures do when they end: the error report, the optics in a safe state, the cancel notification, the
/// common error reaction, the busy flag given back. Each procedure calls the steps in its own order.
#pragma once

#include "optics/OpticalLink.h"
#include "optics/OpticalUnit.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

/// Codes of `OnNotify` that all procedures share.
inline constexpr DWORD NOTIFY_MEASURED = 15;
inline constexpr DWORD NOTIFY_FINISHED = 17;
inline constexpr DWORD NOTIFY_CANCELLED = 18;
inline constexpr DWORD NOTIFY_STARTED = 25;

class EndSequence {
 public:
  EndSequence(DeviceState& state, HostSink& sink, OpticalLink& link, OpticalUnit& unit)
      : m_State(state), m_Sink(sink), m_Link(link), m_Unit(unit) {}

  /// Decides the one end of a run, once: true when it finished, and `OnNotify` 17 was called; false when a cancel came
  /// before.
  bool NotifyFinished(DWORD dwRequestId);
  /// `OnNotify` 18.
  void NotifyCancelled(DWORD dwRequestId);
  /// Appends to the log and the error list, unless the run failed because the device was shut down. 0: nothing.
  void Report(const char* procedure, LONG iResult);
  /// Parks the mirror and switches the halogen lamp off. Failures are ignored.
  void MakeSafe();
  /// The common error reaction. 0: nothing.
  void React(LONG iResult);
  /// Clears busy and cancel, and counts as activity.
  void GiveBack();

 private:
  DeviceState& m_State;
  HostSink& m_Sink;
  OpticalLink& m_Link;
  OpticalUnit& m_Unit;
};

}  // namespace photometer
