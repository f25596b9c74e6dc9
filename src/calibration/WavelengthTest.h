/// The wavelength test on request: the wavelength calibration of the start-up once more, and the zero measurement when
/// more than one attempt was needed or the device was not initialised.
///
/// Runs on a thread of its own while the device is busy. Its outcome is `bInitialized`.
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

class WavelengthTest {
 public:
  WavelengthTest(DeviceState& state, HostSink& sink, OpticalUnit& unit, WavelengthModel& model,
                 FilterSpectrum& spectrum, HolmiumPeak& peak, ZeroMeasurement& zeros, EndSequence& end)
      : m_State(state),
        m_Sink(sink),
        m_Unit(unit),
        m_Model(model),
        m_Spectrum(spectrum),
        m_Peak(peak),
        m_Zeros(zeros),
        m_End(end) {}

  /// Thread procedure.
  void WaveLengthTestProc();

 private:
  void Begin();
  LONG FindOffset();
  /// One attempt. 0 with `pPassed` set or not, or the number of the command that failed.
  LONG Attempt(DWORD dwAttempt, bool* pPassed);
  DWORD PrepareAttempt(DWORD dwAttempt);
  void AcceptOffset(DWORD dwAttempt, LONG iOffset, LONG iBefore);
  LONG MeasureZeros();
  void End(LONG iResult);

  DeviceState& m_State;
  HostSink& m_Sink;
  OpticalUnit& m_Unit;
  WavelengthModel& m_Model;
  FilterSpectrum& m_Spectrum;
  HolmiumPeak& m_Peak;
  ZeroMeasurement& m_Zeros;
  EndSequence& m_End;

  CalibrationData m_Calibration{};
  BOOL m_bWasInitialized = FALSE;
  DWORD m_dwAttempt = 1;
};

}  // namespace photometer
