/// Keeps in touch with a pump ZQ-420, which speaks only when it is asked: asks it each second while it has not
/// answered, opens its port again when that was lost, and asks a pump that has answered for its data. With other pumps:
/// nothing.
#pragma once

#include "HostEvent.h"
#include "InstrumentOptions.h"
#include "photometer/IPhotometer.h"

namespace host {

class PumpCaller {
 public:
  /// Both must outlive it.
  PumpCaller(const InstrumentOptions& instrument, photometer::IPhotometer& device);

  /// To be called more often than once a second.
  void Call();
  /// To be called with each event.
  void Hear(const HostEvent& event);

 private:
  photometer::IPhotometer& m_device;
  bool m_bNeeded;
  DWORD m_dwLastCall;
};

}  // namespace host
