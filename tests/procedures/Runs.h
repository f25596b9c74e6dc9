/// Runs of procedures on a device that has started up: what a run delivered, how it ended, and what must hold when it
/// is cancelled at any moment.
#pragma once

#include <functional>
#include <optional>
#include <string>

#include "support/World.h"

namespace photometer::tests {

/// Request number of the runs.
inline constexpr DWORD RUN_ID = 9;

using Start = std::function<HRESULT(IPhotometer& photometer)>;

/// A world with a device that has started up.
class ReadyDevice {
 public:
  explicit ReadyDevice(WorldOptions options = {});
  /// Closes the device, and expects that the world is clean.
  ~ReadyDevice();
  ReadyDevice(const ReadyDevice&) = delete;
  ReadyDevice& operator=(const ReadyDevice&) = delete;

  IPhotometer* operator->() const { return (*m_Device).operator->(); }

  /// Starts a run and waits for its end. What it delivered.
  MeasureValues Run(const Start& start);
  /// Runs `action` inside the `OnResult` with which the host has had so many more values than now.
  void AtValue(std::size_t n, std::function<void()> action);
  /// After the port was away: brings the device down and up again.
  void Restart();
  /// How often the host heard `OnNotify` with this code in runs.
  [[nodiscard]] std::size_t Notified(DWORD dwCode) const;
  /// `OnError` calls so far.
  [[nodiscard]] std::vector<std::string> Errors() const;
  /// The mirror is parked and the halogen lamp off, once the unit has carried out what it was told.
  void ExpectDark();

  World world;

 private:
  /// False: the run does not end.
  [[nodiscard]] bool WaitForEnd() const;

  std::optional<Device> m_Device;
};

/// Same tags, positions, wavelengths and sizes, and values that agree but for noise.
void ExpectSameValues(const MeasureValues& actual, const MeasureValues& expected);

/// Cancels the run at `nRuns` scheduling points spread evenly, first come first served and at random, each in a world
/// of its own. There must be one end each time; afterwards everything is off, and the next run is complete and right.
void ExpectCancellable(const Start& start, std::uint64_t nRuns);

}  // namespace photometer::tests
