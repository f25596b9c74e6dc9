/// The sample intake of the measurement: draws the sample with the attached pump, if one is in use, and lets it settle.
#pragma once

#include "pumps/Pumps.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

class PumpAndDelay {
 public:
  PumpAndDelay(DeviceState& state, HostSink& sink, Pumps& pumps) : m_State(state), m_Sink(sink), m_Pumps(pumps) {}

  /// For the stored measure request. True: go on. False: end the run with `*pResult` as its error; 0: none, the cycle
  /// was cancelled, or its failure told as that pump's is: `OnPumpError` for the ZQ-420, a line in the log for the
  /// ZQ-410.
  bool Run(LONG* pResult);

 private:
  void TakeSettings();
  /// Decides whether to pump; with the ZQ-420 by the request, and with the host's times.
  bool IsPumpWanted();
  void AskHost();
  /// 0, or the number of the parameters or of the cycle.
  DWORD DrawSample();

  DeviceState& m_State;
  HostSink& m_Sink;
  Pumps& m_Pumps;
  DWORD m_dwRequestId = 0;
  DWORD m_dwPumpProgram = 0;
  bool m_bPumpDefaults = false;
  bool m_bCycleReported = false;
  LONG m_iOperatingMode = 0;
  DWORD m_dwPumpTime = 0;
  DWORD m_dwPumpParam2 = 0;
  DWORD m_dwDelayTime = 0;
};

}  // namespace photometer
