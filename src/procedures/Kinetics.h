/// The timed series: one dark-corrected reading at one wavelength per cycle, at a fixed interval, each delivered at
/// once. Between cycles the halogen lamp is off.
///
/// Runs on a thread of its own while the device is busy. A cycle starts one interval after the cycle before was due, or
/// at once when the readings took longer.
#pragma once

#include "photometer/Records.h"
#include "procedures/SampleRun.h"

namespace photometer {

/// 0, E_POINTER or E_INVALIDARG.
HRESULT ValidateKineticsRequest(const KineticsRequest* pRequest, const PhotometerParameters& params);

class Kinetics : private SampleRun {
 public:
  using SampleRun::SampleRun;

  /// Thread procedure.
  void Run();

 private:
  void Begin();
  /// The sample intake, if a pump is in use. False: it ends the run, with `*pResult` as its error.
  bool DrawSample(LONG* pResult);
  /// From the optics' set-up to the last cycle. 0, or what ends the run.
  LONG MeasureAll();
  LONG SetOptics();
  LONG RunCycles();
  /// One cycle. 0, or what ends the run.
  LONG RunCycle();
  /// From one cycle to the next, ms; at most `LONGEST_LIMIT`.
  DWORD Interval() const;
  /// Waits for the rest of the interval. False: cancelled.
  bool WaitForCycle();
  LONG TakeReading(MeasureValue* pValue);
  LONG TryReading(MeasureValue* pValue);
  bool IntervalExceeded();
  void Deliver(const MeasureValue& value);
  double CycleMinutes() const;
  void Finish(LONG iResult);

  KineticsRequest m_Request{};
  PhotometerParameters m_Params{};
  LONG m_iCuvetteSize = 0;
  LONG m_iPosition = 0;
  DWORD m_dwCycle = 0;
  /// From the start of the first cycle to that of this one, ms: more than the tick counter can tell.
  std::uint64_t m_nElapsed = 0;
  DWORD m_dwCycleTick = 0;
  /// When the cycle was to start: a wait that ended late delays one cycle, and not all that follow.
  DWORD m_dwDueTick = 0;
};

}  // namespace photometer
