/// The timer: once a second it counts lamp hours, switches the deuterium lamp off when it has burnt or idled too long,
/// tells the host that a lamp has warmed up or a wavelength check is due, and supervises the attached pump.
///
/// Each tick decides everything under one hold of the state lock, and acts after it: no callback, file or registry
/// access happens with the lock held.
#pragma once

#include "monitors/LampHours.h"
#include "procedures/UVLamp.h"
#include "pumps/ExternalPort.h"
#include "pumps/SipperPort.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

/// How long the deuterium lamp of a session may burn, s: 10 hours.
inline constexpr DWORD UV_BURNING_LIMIT = 36000;

class Timer {
 public:
  Timer(DeviceState& state, HostSink& sink, UVLamp& lamp, ExternalPort& externalPort, SipperPort& sipperPort)
      : m_State(state), m_Sink(sink), m_Lamp(lamp), m_ExternalPort(externalPort), m_SipperPort(sipperPort) {}

  /// Thread procedure. Ends with the stop event.
  void Run();

 private:
  /// What the host last said of itself.
  struct HostActivity {
    BOOL bActive = FALSE;
    LONG iCount = 0;
    BOOL bBusy = FALSE;
  };
  /// Seconds that a lamp has burnt and that are not in its counter yet.
  struct LampCount {
    const char16_t* name;
    /// What is left when the lamp goes out waits for the next portion; otherwise it is added at once.
    bool bKeepWhenOff;
    DWORD dwSeconds = 0;
    /// To be added to the counter in this tick.
    DWORD dwDue = 0;

    void Count(bool bLit);
    void Add();
  };
  /// What a tick has to do once the lock is given back.
  struct Tick {
    bool bWarmedUp = false;
    bool bTurnOff = false;
    bool bCheckDue = false;
    const char* strLog = nullptr;
  };

  void RunTick();
  void AskHost();
  Tick Decide();
  void DecideLamp(GuardedState& state, DWORD dwIdleSeconds, Tick* pTick);
  void DecideSession(GuardedState& state, Tick* pTick);
  bool IsCheckDue(const GuardedState& state, DWORD dwIdleSeconds) const;
  void TurnOff();
  void RemindOfCheck();
  void SupervisePump();

  DeviceState& m_State;
  HostSink& m_Sink;
  UVLamp& m_Lamp;
  ExternalPort& m_ExternalPort;
  SipperPort& m_SipperPort;

  HostActivity m_Host;
  LampCount m_Halogen{HALOGEN_HOURS, false};
  LampCount m_Deuterium{DEUTERIUM_HOURS, true};
};

}  // namespace photometer
