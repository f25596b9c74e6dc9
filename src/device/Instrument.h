/// The parts of the device, from the ground up. Each is constructed with the parts below it that it needs; this list is
/// the picture of the architecture. Every thread of the device keeps the instrument alive while it runs.
#pragma once

#include <memory>

#include "calibration/FilterSpectrum.h"
#include "calibration/HolmiumPeak.h"
#include "calibration/WavelengthModel.h"
#include "calibration/ZeroMeasurement.h"
#include "monitors/CuvetteHolder.h"
#include "monitors/Timer.h"
#include "optics/Detectors.h"
#include "optics/OpticalLink.h"
#include "optics/OpticalUnit.h"
#include "procedures/EndSequence.h"
#include "procedures/Flush.h"
#include "procedures/UVLamp.h"
#include "procedures/WarmUp.h"
#include "pumps/ExternalPort.h"
#include "pumps/Pumps.h"
#include "pumps/SipperPort.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"
#include "state/ReceiveBuffer.h"
#include "state/WorkerThreads.h"

namespace photometer {

struct Instrument {
  /// With its threads told what they keep alive.
  static std::shared_ptr<Instrument> Create();

  DeviceState state;
  HostSink sink;
  WorkerThreads threads{state};
  ReceiveBuffer opticalBuffer{state};
  ReceiveBuffer externalBuffer{state};
  ReceiveBuffer sipperBuffer{state};
  WavelengthModel model{state};
  OpticalLink link{state, sink, opticalBuffer, threads};
  Detectors detectors{state, link};
  OpticalUnit unit{state, sink, link, detectors, model};
  CuvetteHolder cuvette{state, sink};
  ExternalPort externalPort{state, sink, externalBuffer, threads};
  SipperPort sipperPort{state, sink, sipperBuffer, threads};
  Pumps pumps{state, sink, threads, link, externalPort, sipperPort, cuvette};
  Flush flush{state, sink, threads, externalPort, pumps};
  WarmUp warmUp{state, threads, unit, model};
  UVLamp lamp{state, sink, link, model, warmUp};
  EndSequence end{state, sink, link, unit};
  FilterSpectrum spectrum{state, sink, unit, detectors, model, cuvette};
  HolmiumPeak peak{state, model, spectrum};
  ZeroMeasurement zeros{state, sink, unit, detectors, model};
};

}  // namespace photometer
