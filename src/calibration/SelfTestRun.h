/// What the start-up and the wavelength test on request share: the parts that they drive, and their end, which decides
/// `bInitialized`.
#pragma once

#include "calibration/FilterSpectrum.h"
#include "calibration/HolmiumPeak.h"
#include "calibration/WavelengthModel.h"
#include "calibration/ZeroMeasurement.h"
#include "optics/OpticalUnit.h"
#include "procedures/EndSequence.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

/// No attempt found an offset that a sound instrument may have.
inline constexpr LONG NO_ACCEPTABLE_OFFSET = -2;

class SelfTestRun {
 public:
  SelfTestRun(DeviceState& state, HostSink& sink, OpticalUnit& unit, WavelengthModel& model, FilterSpectrum& spectrum,
              HolmiumPeak& peak, ZeroMeasurement& zeros, EndSequence& end)
      : m_State(state),
        m_Sink(sink),
        m_Unit(unit),
        m_Model(model),
        m_Spectrum(spectrum),
        m_Peak(peak),
        m_Zeros(zeros),
        m_End(end) {}
  SelfTestRun(const SelfTestRun&) = delete;
  SelfTestRun& operator=(const SelfTestRun&) = delete;

 protected:
  ~SelfTestRun() = default;

  /// Error report, optics safe; after a failure the motor's current off, and the common error reaction.
  void EndOptics(const char* procedure, LONG iResult);
  /// Stores the outcome and gives the device back, together.
  void DecideInitialized(LONG iResult);

  DeviceState& m_State;
  HostSink& m_Sink;
  OpticalUnit& m_Unit;
  WavelengthModel& m_Model;
  FilterSpectrum& m_Spectrum;
  HolmiumPeak& m_Peak;
  ZeroMeasurement& m_Zeros;
  EndSequence& m_End;
  CalibrationData m_Calibration{};
};

}  // namespace photometer
