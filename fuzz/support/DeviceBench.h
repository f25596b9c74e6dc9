/// The parts of the device on the virtual board, at one of whose ports stands a device that says what the input says;
/// and a sink that counts.
#pragma once

#include <atomic>

#include "calibration/WavelengthModel.h"
#include "monitors/CuvetteHolder.h"
#include "optics/Detectors.h"
#include "optics/OpticalLink.h"
#include "optics/OpticalUnit.h"
#include "photometer/EmptySink.h"
#include "pumps/ExternalPort.h"
#include "pumps/Pumps.h"
#include "pumps/SipperPort.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"
#include "state/ReceiveBuffer.h"
#include "state/WorkerThreads.h"
#include "support/AnsweringDevice.h"
#include "support/BoardInUse.h"

namespace fuzz {

/// How often the host has heard what. Atomic: counted by the readers, read by the target when they have come to rest.
struct CountingSink final : photometer::EmptySink {
  std::atomic<int> iKeyA = 0;
  std::atomic<int> iKeyB = 0;
  std::atomic<int> iConnected = 0;
  std::atomic<int> iInfo = 0;
  /// Of `OnPumpError`; 0: none.
  std::atomic<photometer::DWORD> dwPumpError = 0;

  void OnSipperKeyA() override { ++iKeyA; }
  void OnSipperKeyB() override { ++iKeyB; }
  void OnSipperConnectionChanged(photometer::BOOL) override { ++iConnected; }
  void OnSipperInfoChanged() override { ++iInfo; }
  void OnPumpError(photometer::DWORD, photometer::DWORD dwError) override { dwPumpError = dwError; }
};

enum class FarEnd { OpticalUnit, ZQ410, ZQ420 };

class DeviceBench {
 public:
  /// With an optical unit its port alone is open, and the device counts as busy, so that its reader keeps what it
  /// reads. With a pump both pump ports are.
  explicit DeviceBench(FarEnd farEnd);
  /// Stops the threads. Requires that no rule of the board was broken and that nothing is left.
  ~DeviceBench();
  DeviceBench(const DeviceBench&) = delete;
  DeviceBench& operator=(const DeviceBench&) = delete;

  /// Lets the device say the pieces, and waits until they have come.
  void Hear(const std::vector<Piece>& pieces);
  [[nodiscard]] photometer::PumpInfo Info() { return state.Lock()->m_PumpInfo; }
  [[nodiscard]] bool Detected() { return state.Lock()->m_Status.bSipperDetected != 0; }

  AnsweringDevice device;
  /// At the ports of the others.
  AnsweringDevice silent;
  BoardInUse board;
  CountingSink host;
  photometer::DeviceState state;
  photometer::HostSink sink;
  photometer::WorkerThreads threads{state};
  photometer::ReceiveBuffer opticalBuffer{state};
  photometer::ReceiveBuffer externalBuffer{state};
  photometer::ReceiveBuffer sipperBuffer{state};
  photometer::OpticalLink link{state, sink, opticalBuffer, threads};
  photometer::Detectors detectors{state, link};
  photometer::WavelengthModel model{state};
  photometer::OpticalUnit unit{state, sink, link, detectors, model};
  photometer::CuvetteHolder cuvette{state, sink};
  photometer::ExternalPort external{state, sink, externalBuffer, threads};
  photometer::SipperPort sipper{state, sink, sipperBuffer, threads};
  photometer::Pumps pumps{state, sink, threads, link, external, sipper, cuvette};

 private:
  void OpenPumps(photometer::LONG iMode);
};

/// The frames of bytes by their definition: from a start to the first end behind it.
std::vector<std::string> FramesOf(const std::string& bytes);

}  // namespace fuzz
