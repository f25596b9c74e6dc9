/// The zero measurement: dark-corrected readings of both channels without a sample, at each wavelength of the
/// calibration, kept as the device's list of zero values.
#pragma once

#include <functional>

#include "calibration/WavelengthModel.h"
#include "optics/Detectors.h"
#include "optics/OpticalUnit.h"
#include "optics/ShutterReading.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

/// Ten readings in a row at one wavelength showed no light.
inline constexpr LONG NO_ZERO_READING = -3;

class ZeroMeasurement {
 public:
  ZeroMeasurement(DeviceState& state, HostSink& sink, OpticalUnit& unit, Detectors& detectors,
                  const WavelengthModel& model)
      : m_State(state), m_Sink(sink), m_Unit(unit), m_Detectors(detectors), m_Model(model) {}

  /// Sets path and speeds, and empties the list. 0, or the number of the command that failed.
  LONG Begin();
  /// One zero value (wavelength in nm), in up to ten tries; `mayTry` is asked before each and ends them with false, the
  /// lamp still on. 0, −3, or the number of the command that failed.
  LONG Measure(double dWavelength, const std::function<bool()>& mayTry, Reading* pZero);
  /// Switches the lamp off and appends the value to the list. 0, or the number of the command that failed.
  LONG Keep(double dWavelength, const Reading& zero);
  /// `OnNotify` with the per cent of wavelengths that are done.
  void NotifyProgress(std::size_t nDone, std::size_t nCount);

 private:
  DWORD SetOptics(double dWavelength);

  DeviceState& m_State;
  HostSink& m_Sink;
  OpticalUnit& m_Unit;
  Detectors& m_Detectors;
  const WavelengthModel& m_Model;
};

}  // namespace photometer
