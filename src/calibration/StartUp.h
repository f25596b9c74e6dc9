/// The start-up self-test: lamp test, wavelength test, zero measurement.
///
/// Runs on a thread that `Initialize` starts, with the device busy. Its outcome is `bInitialized`. The wavelength test
/// corrects the wavelength model; the zero measurement fills the list of zero values, which the host receives through
/// `OnReferenceValues`.
#pragma once

#include <vector>

#include "calibration/FilterSpectrum.h"
#include "calibration/HolmiumPeak.h"
#include "calibration/WavelengthModel.h"
#include "calibration/ZeroMeasurement.h"
#include "optics/OpticalUnit.h"
#include "procedures/EndSequence.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

class StartUp {
 public:
  StartUp(DeviceState& state, HostSink& sink, OpticalUnit& unit, WavelengthModel& model, FilterSpectrum& spectrum,
          HolmiumPeak& peak, ZeroMeasurement& zeros, EndSequence& end)
      : m_State(state),
        m_Sink(sink),
        m_Unit(unit),
        m_Model(model),
        m_Spectrum(spectrum),
        m_Peak(peak),
        m_Zeros(zeros),
        m_End(end) {}

  /// Thread procedure.
  void InitProc();

 private:
  /// What a run over the zero wavelengths came to.
  enum class ZeroRun { Complete, Interrupted };

  void Begin();
  LONG LampTest();
  LONG WavelengthTest();
  void AcceptOffset(LONG iOffset);
  LONG MeasureZeros();
  /// All wavelengths, until a cuvette has to be removed.
  LONG MeasureRun(ZeroRun* pRun);
  LONG MeasureOne(std::size_t nIndex, ZeroRun* pRun);
  void End(LONG iResult);
  void HandOverZeros();
  bool CuvetteHadToBeRemoved() { return m_Spectrum.WaitForCuvetteRemoval(CuvetteCaller::StartUp) != FALSE; }

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
