/// Both pump ports of the device on the virtual board, with a device at the attached pump's port that says what the
/// input says, and a sink that counts. The optical port stays closed.
#pragma once

#include <atomic>

#include "monitors/CuvetteHolder.h"
#include "optics/OpticalLink.h"
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

class PumpBench {
 public:
  /// `iMode`: `MODE_ZQ_410` or `MODE_ZQ_420`.
  explicit PumpBench(photometer::LONG iMode);
  /// Stops the threads. Requires that no rule of the board was broken and that nothing is left.
  ~PumpBench();
  PumpBench(const PumpBench&) = delete;
  PumpBench& operator=(const PumpBench&) = delete;

  /// Lets the pump say the pieces, and waits until they have come.
  void Hear(const std::vector<Piece>& pieces);
  [[nodiscard]] photometer::PumpInfo Info() { return state.Lock()->m_PumpInfo; }
  [[nodiscard]] bool Detected() { return state.Lock()->m_Status.bSipperDetected != 0; }

  AnsweringDevice pump;
  /// At the other pump's port.
  AnsweringDevice other;
  BoardInUse board;
  CountingSink host;
  photometer::DeviceState state;
  photometer::HostSink sink;
  photometer::WorkerThreads threads{state};
  photometer::ReceiveBuffer opticalBuffer{state};
  photometer::ReceiveBuffer externalBuffer{state};
  photometer::ReceiveBuffer sipperBuffer{state};
  photometer::OpticalLink link{state, sink, opticalBuffer, threads};
  photometer::CuvetteHolder cuvette{state, sink};
  photometer::ExternalPort external{state, sink, externalBuffer, threads};
  photometer::SipperPort sipper{state, sink, sipperBuffer, threads};
  photometer::Pumps pumps{state, sink, threads, link, external, sipper, cuvette};
};

/// The frames of bytes by their definition, a byte at a time.
std::vector<std::string> FramesOf(const std::string& bytes);

}  // namespace fuzz
