/// What the runs that the host starts and may cancel share: the parts that all of them drive, and the cancel.
#pragma once

#include "optics/Detectors.h"
#include "optics/OpticalUnit.h"
#include "procedures/EndSequence.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

class ProcedureRun {
 public:
  ProcedureRun(DeviceState& state, HostSink& sink, OpticalUnit& unit, Detectors& detectors, EndSequence& end)
      : m_State(state), m_Sink(sink), m_Unit(unit), m_Detectors(detectors), m_End(end) {}
  ProcedureRun(const ProcedureRun&) = delete;
  ProcedureRun& operator=(const ProcedureRun&) = delete;

 protected:
  ~ProcedureRun() = default;

  /// A cancel has come. Seen once, it counts to the end of the run.
  bool CancelSeen();
  /// At the end: a cancel was seen, or it came while a command failed. One that comes after a good end does not count.
  bool EndsCancelled(LONG iResult);

  DeviceState& m_State;
  HostSink& m_Sink;
  OpticalUnit& m_Unit;
  Detectors& m_Detectors;
  EndSequence& m_End;
  bool m_bCanceled = false;
};

}  // namespace photometer
