/// The turbidity measurement: two readings of the turbidity channel with the photometer's light path closed, one with
/// low lamp power and gain, one with high.
///
/// Runs on a thread of its own while the device is busy. It moves neither mirror nor lamps.
#pragma once

#include "optics/Detectors.h"
#include "optics/OpticalUnit.h"
#include "photometer/Records.h"
#include "procedures/EndSequence.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

/// How the turbidity channel is set for a reading.
struct TurbidityRange {
  DWORD dwPower;
  BOOL bHighGain;
};
inline constexpr TurbidityRange LOW_TURBIDITY_RANGE{1, FALSE};
inline constexpr TurbidityRange HIGH_TURBIDITY_RANGE{3, TRUE};

/// Wavelength of the turbidity channel, as its records state it, nm.
inline constexpr double TURBIDITY_WAVELENGTH = 860.0;

/// Sets the channel and gives its lamp time to settle. 0, or the number of the command that failed.
DWORD SetTurbidityRange(DeviceState& state, OpticalUnit& unit, const TurbidityRange& range);

class Turbidity {
 public:
  Turbidity(DeviceState& state, HostSink& sink, OpticalUnit& unit, Detectors& detectors, EndSequence& end)
      : m_State(state), m_Sink(sink), m_Unit(unit), m_Detectors(detectors), m_End(end) {}

  /// Thread procedure.
  void MeasureTurbidityProc();

 private:
  /// 0, or the number of the command that failed. A cancel that is seen ends it.
  LONG TakeReadings(MeasureValues* pValues);
  DWORD TakeReading(const TurbidityRange& range, DWORD dwTag, MeasureValues* pValues);
  bool CancelSeen();
  void Deliver(const MeasureValues& values);
  void Finish(LONG iResult);

  DeviceState& m_State;
  HostSink& m_Sink;
  OpticalUnit& m_Unit;
  Detectors& m_Detectors;
  EndSequence& m_End;

  TurbidityRequest m_Request{};
  bool m_bCanceled = false;
};

}  // namespace photometer
