/// Runs of procedures on a device that has started up: what a run delivered, how it ended, and what must hold however
/// it is disturbed.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "support/World.h"

namespace photometer::tests {

using Texts = std::vector<std::string>;

/// Request number of the runs.
inline constexpr DWORD RUN_ID = 9;
/// How `OnNotify` names the ends of a run.
inline constexpr DWORD FINISHED = 17;
inline constexpr DWORD CANCELLED = 18;

/// Starts a run.
using Start = std::function<HRESULT(IPhotometer& photometer)>;

/// The start, and a cancel so many ms later.
Start ThenCancel(const Start& start, DWORD dwMilliseconds);

WorldOptions Scheduled(platform::Policy policy, std::uint64_t nSeed);

/// How the unit's fault ends a run.
struct Failure {
  simulator::Fault fault;
  LONG iResult;
  /// "[Measure] SetFilter": the procedure and the command that its error record names.
  std::string strRecord;
  std::size_t nValues = 0;
};

/// A world with a device that has started up; whether with deuterium path, the unit says.
class ReadyDevice {
 public:
  explicit ReadyDevice(const WorldOptions& options = {});
  /// Closes the device, and expects that the world is clean.
  ~ReadyDevice();
  ReadyDevice(const ReadyDevice&) = delete;
  ReadyDevice& operator=(const ReadyDevice&) = delete;

  IPhotometer* operator->() const { return m_Device->operator->(); }

  /// Starts a run and waits for its end. What it delivered; the transcript is that of this run.
  MeasureValues Run(const Start& start);
  /// The run fails as told, ends switched off, and the next one is whole.
  void ExpectFailure(const Start& start, const Failure& failure);
  /// Runs `action` inside the `OnResult` with which the host has had so many more values than now.
  void AtValue(std::size_t n, std::function<void()> action);
  /// After the port was away: brings the device down and up again.
  void Restart();

  // ---- of the last run ----

  /// How often the host heard `OnNotify` with this code at the end.
  [[nodiscard]] std::size_t Notified(DWORD dwCode) const;
  /// Callbacks that begin with this.
  [[nodiscard]] Texts Calls(const std::string& prefix = "On") const;
  [[nodiscard]] Texts Errors() const { return Calls("OnError"); }
  /// Lines of the device log that begin with this, their times left out.
  [[nodiscard]] Texts Log(const std::string& prefix = "") const;
  /// The mirror is parked and the halogen lamp off, once the unit has carried out what it was told.
  void ExpectDark();

  World world;

 private:
  void StartUp();
  /// False: the run does not end.
  [[nodiscard]] bool WaitForEnd() const;

  std::unique_ptr<Device> m_Device;
};

/// Same tags, positions, wavelengths and sizes, and values that agree but for noise.
void ExpectSameValues(const MeasureValues& actual, const MeasureValues& expected);

/// Cancels the run at `nRuns` scheduling points spread evenly, first come first served and at random, each in a world
/// of its own. There must be one end each time; afterwards everything is off, and the next run is complete and right.
void ExpectCancellable(const Start& start, std::uint64_t nRuns);
/// In any order of events and with any split of the bytes, the run delivers the same.
void ExpectSameInAnyOrder(const Start& start);

}  // namespace photometer::tests
