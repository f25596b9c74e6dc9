/// What the runs that draw a sample and read it share, beside what all runs do.
#pragma once

#include "calibration/WavelengthModel.h"
#include "optics/ShutterReading.h"
#include "photometer/Records.h"
#include "procedures/ProcedureRun.h"
#include "pumps/Pumps.h"

namespace photometer {

/// Attempts to get a reading with light.
inline constexpr int READING_ATTEMPTS = 10;

class SampleRun : protected ProcedureRun {
 public:
  SampleRun(DeviceState& state, HostSink& sink, OpticalUnit& unit, Detectors& detectors, const WavelengthModel& model,
            Pumps& pumps, EndSequence& end)
      : ProcedureRun(state, sink, unit, detectors, end), m_Model(model), m_Pumps(pumps) {}

 protected:
  ~SampleRun() = default;

  /// The host has its values: that counts as activity.
  void NoteActivity();
  /// Puts the reading into the record. False: it is one without light, and the log says so in the name of `procedure`.
  static bool TakeOver(const char* procedure, const Reading& reading, MeasureValue* pValue);

  const WavelengthModel& m_Model;
  Pumps& m_Pumps;
};

}  // namespace photometer
