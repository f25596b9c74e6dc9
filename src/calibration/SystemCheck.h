/// The system check: lamps, wavelength accuracy, order-sorting filters and detector noise, each judged against its
/// limit. It changes no calibration; the host sees the verdicts after each step.
///
/// Runs on a thread of its own while the device is busy. A verdict of "failed" is no error: the check goes on. A
/// command that fails ends it, but for those of the wavelength step's spectrum.
#pragma once

#include <vector>

#include "calibration/HolmiumPeak.h"
#include "calibration/WavelengthModel.h"
#include "optics/Detectors.h"
#include "optics/OpticalUnit.h"
#include "optics/ShutterReading.h"
#include "photometer/Records.h"
#include "procedures/EndSequence.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

class SystemCheck {
 public:
  SystemCheck(DeviceState& state, HostSink& sink, OpticalUnit& unit, Detectors& detectors, const WavelengthModel& model,
              HolmiumPeak& peak, EndSequence& end)
      : m_State(state), m_Sink(sink), m_Unit(unit), m_Detectors(detectors), m_Model(model), m_Peak(peak), m_End(end) {}

  /// Thread procedure.
  void SystemCheckProc();

  /// Judges one filter: `*pbPassed` becomes 1 when its absorbance against the open position, at `dWavelength` (nm), is
  /// greater than 1; otherwise it is untouched. 0, or the number of the command that failed.
  DWORD CheckFilter(DWORD dwFilterNumber, double dWavelength, DWORD dwFilterPosition, BOOL* pbPassed);

 private:
  DWORD CheckLamps();
  DWORD CheckHalogenLamp();
  DWORD CheckDeuteriumLamp();
  DWORD CheckWavelength();
  DWORD CheckFilters();
  DWORD CheckDetectors();
  /// Absorbances of repeated readings, those that can be had.
  DWORD CollectNoise(std::vector<double>* pAbsorbances);
  /// Light minus dark of both channels, with the halogen lamp on for the reading's duration.
  DWORD TakeHalogenReading(Reading* pReading);
  /// Stores a step's state and shows the record to the host.
  void SetStep(DWORD SystemCheckStatus::*pStep, DWORD dwState);
  void Finish(DWORD dwResult);

  DeviceState& m_State;
  HostSink& m_Sink;
  OpticalUnit& m_Unit;
  Detectors& m_Detectors;
  const WavelengthModel& m_Model;
  HolmiumPeak& m_Peak;
  EndSequence& m_End;

  SystemCheckRequest m_Request{};
  bool m_bUV = false;
  SystemCheckStatus m_Status{};
};

}  // namespace photometer
