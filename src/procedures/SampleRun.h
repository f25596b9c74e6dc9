/// What the runs that draw a sample and read it share: the parts that they drive, and the cancel.
#pragma once

#include "calibration/WavelengthModel.h"
#include "optics/Detectors.h"
#include "optics/OpticalUnit.h"
#include "photometer/Records.h"
#include "procedures/EndSequence.h"
#include "pumps/Pumps.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

class SampleRun {
 public:
  SampleRun(DeviceState& state, HostSink& sink, OpticalUnit& unit, Detectors& detectors, const WavelengthModel& model,
            Pumps& pumps, EndSequence& end)
      : m_State(state),
        m_Sink(sink),
        m_Unit(unit),
        m_Detectors(detectors),
        m_Model(model),
        m_Pumps(pumps),
        m_End(end) {}
  SampleRun(const SampleRun&) = delete;
  SampleRun& operator=(const SampleRun&) = delete;

 protected:
  ~SampleRun() = default;

  /// A cancel has come. Seen once, it counts to the end of the run.
  bool CancelSeen();
  /// The host has its values: that counts as activity.
  void NoteActivity();
  /// A reading without light; `procedure` names the run.
  static void LogInvalidReading(const char* procedure, const MeasureValue& value);

  DeviceState& m_State;
  HostSink& m_Sink;
  OpticalUnit& m_Unit;
  Detectors& m_Detectors;
  const WavelengthModel& m_Model;
  Pumps& m_Pumps;
  EndSequence& m_End;
  bool m_bCanceled = false;
};

}  // namespace photometer
