/// The world of a scenario: a virtual board with the simulated instrument plugged in, whose services can be made to
/// fail, traced, and set as the current board for as long as the world lives; and a host's sink.
///
///     World world;
///     Device device(world);
///     ASSERT_TRUE(device.StartUp());
///     ...
///     device.Close();
///     world.ExpectClean();
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "photometer/IPhotometer.h"
#include "platform/TracingBoard.h"
#include "platform/Transcript.h"
#include "platform/virtual/VirtualBoard.h"
#include "simulator/CuvetteHolder.h"
#include "simulator/OpticalUnit.h"
#include "support/DefaultRecords.h"
#include "support/FailingServices.h"
#include "support/RecordingSink.h"

namespace photometer::tests {

struct WorldOptions {
  platform::VirtualBoardOptions board;
  simulator::OpticalUnitSettings unit;
  /// What is plugged into "COM2:" in place of the simulated unit.
  simulator::SerialDevice* pDevice = nullptr;
  /// Whether a read of that port ends with the first bytes.
  bool bAtOnce = true;
};

class World {
 private:
  simulator::SerialDevice* m_pDevice;

 public:
  explicit World(const WorldOptions& options = {});
  /// Nothing of the library may be alive.
  ~World();
  World(const World&) = delete;
  World& operator=(const World&) = delete;

  simulator::OpticalUnit unit;
  simulator::CuvetteHolder holder;
  platform::Transcript transcript;
  platform::VirtualBoard board;
  FailingKernel kernel;
  FailingSerialPorts ports;
  FailingPins pins;
  platform::ForwardingBoard faulty;
  platform::TracingBoard tracing;
  RecordingSink sink;

  static constexpr const char16_t* PORT = u"COM2:";

  /// Puts the device back on the port.
  void Plug();
  /// Does without the transcript from now on: for runs that move more bytes than one wants to keep.
  void StopTracing();
  /// Commands that were written to the port, without carriage returns.
  [[nodiscard]] std::vector<std::string> Written() const;
  /// How often the device log contains `text`.
  [[nodiscard]] std::size_t LogLines(const std::string& text);
  /// Texts of the board's rules and of the sink's that were broken.
  [[nodiscard]] std::vector<std::string> Faults() const;
  /// Waits until all threads but those that the board itself was told to run have ended. False: not within 3 s.
  bool WaitForThreads() const;
  /// No rule was broken, and no handle or thread is left.
  void ExpectClean() const;
  /// Lamps and fan are off, and the mirror is parked, once the unit has carried out what it was told.
  void ExpectSwitchedOff();

 private:
  bool m_bAtOnce;
  platform::Board* m_pBefore;
};

/// A device object in a world, with the world's sink.
class Device {
 public:
  explicit Device(World& world);
  /// `Close`, unless that was done.
  ~Device();
  Device(const Device&) = delete;
  Device& operator=(const Device&) = delete;

  IPhotometer* operator->() const { return m_pPhotometer; }

  HRESULT Initialize();
  /// `Initialize`, and waits for the end of the start-up. True: initialised.
  bool StartUp();
  /// False: still busy after two hours.
  bool WaitUntilNotBusy() const;
  /// `Shutdown` and `Release`; forbids the sink's callbacks when `Shutdown` is called.
  void Close();
  /// The object is gone: the test has released it.
  void Forget() { m_pPhotometer = nullptr; }

 private:
  World& m_World;
  IPhotometer* m_pPhotometer;
};

}  // namespace photometer::tests
