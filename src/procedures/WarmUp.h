/// The warm-up: brings the optics into the state for the deuterium lamp and switches it on, so that it warms up while
/// the instrument waits.
///
/// Runs on a thread of its own while the device is busy. It reports in the log only. A switch-off of the lamp that
/// comes at any time after the start wins.
#pragma once

#include "calibration/WavelengthModel.h"
#include "optics/OpticalUnit.h"
#include "state/DeviceState.h"
#include "state/WorkerThreads.h"

namespace photometer {

class WarmUp {
 public:
  WarmUp(DeviceState& state, WorkerThreads& threads, OpticalUnit& unit, const WavelengthModel& model)
      : m_State(state), m_Threads(threads), m_Unit(unit), m_Model(model) {}

  /// State lock held, device not busy: marks it busy, forgets an earlier cancel and starts the thread. 0, or E_FAIL:
  /// the device is not busy, and no warm-up runs.
  HRESULT StartWarmUp();

 private:
  /// `dwSwitchOffs`: the count of switch-offs at the start.
  void WarmUpProc(DWORD dwSwitchOffs);
  DWORD PrepareOptics();
  void GiveBack(DWORD dwResult);

  DeviceState& m_State;
  WorkerThreads& m_Threads;
  OpticalUnit& m_Unit;
  const WavelengthModel& m_Model;
};

}  // namespace photometer
