/// Drawing the sample into the flow cuvette: what procedures do with whichever sipper pump is attached.
///
/// Results are 0 or an error number: 512 to 516 (cycle of the ZQ-410), 531 to 535 (its parameters), 541 to 545
/// (parameters set by the host), 612 to 617 (cycle of the ZQ-420). 516 and 613 mean a cancel. The operations run on the
/// threads of procedures; each waits for its exchange without a lock and ends when the device stops.
#pragma once

#include "monitors/CuvetteHolder.h"
#include "optics/OpticalLink.h"
#include "pumps/ExternalPort.h"
#include "pumps/PumpExchange.h"
#include "pumps/SipperPort.h"
#include "pumps/ZQ420Cycle.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"
#include "state/WorkerThreads.h"

namespace photometer {

inline constexpr DWORD ZQ410_CANCELLED = 516;

/// A cancel came during the cycle: it stopped the ZQ-420, as the device's stop does, while the ZQ-410 has run to its
/// end.
constexpr bool IsPumpCancelled(DWORD dwResult) { return dwResult == ZQ410_CANCELLED || dwResult == ZQ420_CANCELLED; }

/// The number of a cycle that failed or was cancelled: it ends a procedure without an error of its own.
bool IsPumpStopCode(DWORD dwResult);

class Pumps {
 public:
  Pumps(DeviceState& state, HostSink& sink, WorkerThreads& threads, OpticalLink& link, ExternalPort& external,
        SipperPort& sipper, CuvetteHolder& cuvette)
      : m_State(state),
        m_Sink(sink),
        m_Threads(threads),
        m_Link(link),
        m_External(external),
        m_Sipper(sipper),
        m_Cuvette(cuvette) {}

  /// A pump is detected and not disabled, and a flow cuvette may be inserted. State lock.
  bool IsPumpInUse();
  /// Gives the ZQ-410 its parameters, 0 to 999 each. 0 at once with the ZQ-420, which takes none.
  DWORD SetPump(DWORD dwPumpTime, DWORD dwPumpParam2);
  /// Runs a cycle of the attached pump. A cancelled one sets the cancel flag, unless the device stops: the run ends
  /// with it, though a flush was meant. A failure of the ZQ-420 is reported with `OnPumpError`.
  DWORD Pump(DWORD dwSeconds);
  /// A cycle of the ZQ-410. A cancel does not shorten it; the result says so at its end.
  DWORD PumpZQ410();
  /// A cycle of the ZQ-420, from the start to the stop command. A cancel stops the pump at once: the pumps' common
  /// one, or that of this cycle alone.
  DWORD PumpZQ420(DWORD dwSeconds, HANDLE hOwnCancel = 0);

  /// With a pump in use: parameters and cycle, unless the pump has run one by itself, and the delay.
  DWORD PumpStep(const PhotometerParameters& params, DWORD dwRequestId);
  /// `OnDelayCountdown` each second, last with 0. A cancel jumps to the 0.
  void DelayCountdown(DWORD dwSeconds, DWORD dwRequestId);

  /// Stores the parameters and, on a device initialised for the ZQ-410, starts a thread that gives them to the pump.
  /// Without a detected pump: nothing. E_FAIL: the thread cannot be created.
  HRESULT UpdatePumpParameters(DWORD dwPumpTime, DWORD dwPumpParam2);

 private:
  /// `dwRange`: the result for a parameter that the ZQ-410 does not take.
  DWORD SendParameters(DWORD dwPumpTime, DWORD dwPumpParam2, const PumpDialogue& dialogue, DWORD dwRange);
  void UpdatePumpParProc();
  void ReportUpdate(DWORD dwResult);
  /// A second of the countdown. False: it ends now.
  bool WaitForNextSecond();

  DeviceState& m_State;
  HostSink& m_Sink;
  WorkerThreads& m_Threads;
  OpticalLink& m_Link;
  ExternalPort& m_External;
  SipperPort& m_Sipper;
  CuvetteHolder& m_Cuvette;
};

}  // namespace photometer
