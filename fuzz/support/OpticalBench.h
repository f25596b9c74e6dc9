/// The optical unit's side of the device on the virtual board, at whose port a device answers with what the input says.
/// The port is open, and the device counts as busy, so that its reader keeps what it reads.
#pragma once

#include "calibration/WavelengthModel.h"
#include "optics/Detectors.h"
#include "optics/OpticalLink.h"
#include "optics/OpticalUnit.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"
#include "state/ReceiveBuffer.h"
#include "state/WorkerThreads.h"
#include "support/AnsweringDevice.h"
#include "support/BoardInUse.h"

namespace fuzz {

class OpticalBench {
 public:
  OpticalBench();
  /// Stops the threads. Requires that no rule of the board was broken and that nothing is left.
  ~OpticalBench();
  OpticalBench(const OpticalBench&) = delete;
  OpticalBench& operator=(const OpticalBench&) = delete;

  AnsweringDevice device;
  BoardInUse board;
  photometer::DeviceState state;
  photometer::HostSink sink;
  photometer::WorkerThreads threads{state};
  photometer::ReceiveBuffer buffer{state};
  photometer::OpticalLink link{state, sink, buffer, threads};
  photometer::Detectors detectors{state, link};
  photometer::WavelengthModel model{state};
  photometer::OpticalUnit unit{state, sink, link, detectors, model};
};

}  // namespace fuzz
