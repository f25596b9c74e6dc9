/// The parts of the optical unit's side without a device: state, sink, link, command set, on a line with a scripted
/// unit. The port is open, and the device counts as busy, so that the reader keeps what it reads.
#pragma once

#include <gtest/gtest.h>

#include "calibration/WavelengthModel.h"
#include "optics/Detectors.h"
#include "optics/OpticalLink.h"
#include "optics/OpticalUnit.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"
#include "state/ReceiveBuffer.h"
#include "state/WorkerThreads.h"
#include "support/ScriptedUnit.h"
#include "support/World.h"

namespace photometer::tests {

class Optics {
 public:
  explicit Optics(bool bAtOnce = true);
  /// In another world, without the scripted unit.
  explicit Optics(const WorldOptions& options);
  /// Stops, and expects that the world is clean.
  ~Optics();
  Optics(const Optics&) = delete;
  Optics& operator=(const Optics&) = delete;

  /// Stops the threads and gives back everything; done once.
  void Stop();
  [[nodiscard]] LONG Cached(CacheEntry entry) { return state.Lock()->m_Cache[entry]; }
  void Cache(CacheEntry entry, LONG iValue) { state.Lock()->m_Cache[entry] = iValue; }

  ScriptedUnit device;
  World world;
  DeviceState state;
  HostSink sink;
  WorkerThreads threads{state};
  ReceiveBuffer buffer{state};
  OpticalLink link{state, sink, buffer, threads};
  Detectors detectors{state, link};
  WavelengthModel model{state};
  OpticalUnit unit{state, sink, link, detectors, model};

 private:
  bool m_bStopped = false;
};

/// The line works: a setting and a data command are answered as they should, and nothing that comes before their
/// answers is taken for them.
void ExpectLineInOrder(Optics& optics);
/// So many readings of the same values, as the unit sends them.
std::string Readings(DWORD dwSample, DWORD dwReference, int iCount);

}  // namespace photometer::tests
