/// The turbidity measurement: two readings of the turbidity channel with the photometer's light path closed, one with
/// low lamp power and gain, one with high.
///
/// Runs on a thread of its own while the device is busy. It moves neither mirror nor lamps.
#pragma once

#include "photometer/Records.h"
#include "procedures/ProcedureRun.h"

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

/// Fills what every record of the channel has: its wavelength, and 1.0 where others have light.
void MarkAsTurbidity(MeasureValue* pValue);

/// Sets the channel and gives its lamp time to settle. 0, or the number of the command that failed.
DWORD SetTurbidityRange(DeviceState& state, OpticalUnit& unit, const TurbidityRange& range);

class Turbidity : private ProcedureRun {
 public:
  using ProcedureRun::ProcedureRun;

  /// Thread procedure.
  void MeasureTurbidityProc();

 private:
  /// 0, or the number of the command that failed. A cancel that is seen ends it.
  LONG TakeReadings(MeasureValues* pValues);
  DWORD TakeReading(const TurbidityRange& range, DWORD dwTag, MeasureValues* pValues);
  void Deliver(const MeasureValues& values);
  void Finish(LONG iResult);

  TurbidityRequest m_Request{};
};

}  // namespace photometer
