/// The deuterium lamp as the host switches it: on through the warm-up, with or without a session that the timer watches
/// over; off at once.
#pragma once

#include "optics/OpticalLink.h"
#include "procedures/WarmUp.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

class UVLamp {
 public:
  UVLamp(DeviceState& state, HostSink& sink, OpticalLink& link, const WavelengthModel& model, WarmUp& warmUp)
      : m_State(state), m_Sink(sink), m_Link(link), m_Model(model), m_WarmUp(warmUp) {}

  /// On: 0; E_FAIL while a procedure runs, without table and port, or without a thread: lamp and session are as before.
  /// With a session value that is not 0 the host is asked for the warm-up time. Off: 1 when the commands were taken, to
  /// be sent behind a running exchange perhaps; 0 when the last of them could not be written.
  LONG SetUVLamp(BOOL bOn, DWORD dwSession);

  /// State lock held: the lamp counts as off from now on, its session ends, and the switch-off commands go out before
  /// any other command. `SendSwitchOff` sends them, once the lock has been given back.
  void ClaimSwitchOff();
  BOOL SendSwitchOff();

 private:
  LONG SwitchOn(DWORD dwSession);
  bool CanStart();
  DWORD AskWarmUpTime();

  DeviceState& m_State;
  HostSink& m_Sink;
  OpticalLink& m_Link;
  const WavelengthModel& m_Model;
  WarmUp& m_WarmUp;
};

}  // namespace photometer
