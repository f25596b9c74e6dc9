/// Rinses the flow cuvette with the attached sipper pump, on a thread of its own beside whatever else runs.
///
/// The host hears `OnFlushCompleted`, also when a cancel has stopped the ZQ-420, or `OnPumpError` with 522 to 525
/// (flush of the ZQ-410) or 612 and 614 to 617 (cycle of the ZQ-420). A cancel does not stop the ZQ-410.
#pragma once

#include <vector>

#include "pumps/ExternalPort.h"
#include "pumps/Pumps.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"
#include "state/WorkerThreads.h"

namespace photometer {

class Flush {
 public:
  Flush(DeviceState& state, HostSink& sink, WorkerThreads& threads, ExternalPort& external, Pumps& pumps)
      : m_State(state), m_Sink(sink), m_Threads(threads), m_External(external), m_Pumps(pumps) {}

  /// Starts the flush, whether or not the device is initialised. `dwFlushTime`: for the ZQ-420, s. E_FAIL: the device
  /// is not initialised (the flush runs all the same), or its event or thread cannot be created.
  HRESULT StartFlush(DWORD dwFlushTime);
  /// Stops every cycle of a ZQ-420, a procedure's too. Always 0.
  HRESULT CancelFlush();
  /// Stops the flushes of a ZQ-420 that run now, and nothing else. State lock.
  void SignalCancel();

 private:
  /// Thread procedure. `hCancel`: this flush's cancel event, which it closes.
  void FlushProc(HANDLE hCancel);
  DWORD RunPump(HANDLE hCancel);
  void CloseCancelEvent(HANDLE hCancel);
  /// 0, or 522 to 525.
  DWORD FlushZQ410();

  DeviceState& m_State;
  HostSink& m_Sink;
  WorkerThreads& m_Threads;
  ExternalPort& m_External;
  Pumps& m_Pumps;
  /// Of the flushes that run. The pumps' common one is the procedures'. Guarded by the state lock.
  std::vector<HANDLE> m_CancelEvents;
};

}  // namespace photometer
