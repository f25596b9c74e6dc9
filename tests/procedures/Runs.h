/// Runs of procedures on a device that has started up: what a run delivered, and how it ended.
#pragma once

#include <functional>
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

/// One reading at each of the wavelengths, nm.
inline MeasureRequest RequestAt(const std::vector<double>& wavelengths) {
  MeasureRequest request = MeasureAt(wavelengths);
  request.m_dwRequestId = RUN_ID;
  return request;
}

/// Starts a run.
using Start = std::function<HRESULT(IPhotometer& photometer)>;

inline Start StartOf(const MeasureRequest& request) {
  return [request](IPhotometer& photometer) { return photometer.StartMeasure(&request); };
}

inline Start StartOf(const ScanRequest& request) {
  return [request](IPhotometer& photometer) { return photometer.StartScan(&request); };
}

inline Start StartOf(const KineticsRequest& request) {
  return [request](IPhotometer& photometer) { return photometer.StartKinetics(&request); };
}

inline Start StartOf(const TurbidityRequest& request) {
  return [request](IPhotometer& photometer) { return photometer.StartTurbidityMeasurement(&request); };
}

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

  IPhotometer* operator->() const { return m_Device.operator->(); }

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

  World world;

 private:
  void StartUp();

  Device m_Device;
};

/// Same tags, positions, wavelengths and sizes, and values that agree but for noise.
void ExpectSameValues(const MeasureValues& actual, const MeasureValues& expected);

}  // namespace photometer::tests
