/// The host of a run: its threads carry out the plan's steps; then the world is healed, and a new start and a
/// measurement must succeed.
///
/// The host keeps to its contract: nobody uses the device after the last `Release`, and that is not called while
/// another thread is inside an operation.
#pragma once

#include <atomic>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "HostFiles.h"
#include "HostSink.h"
#include "World.h"
#include "photometer/IPhotometer.h"

namespace explorer {

using photometer::MeasureValues;

class Host {
 public:
  explicit Host(World& world);
  /// Waits for threads that the board has let in late.
  ~Host();
  Host(const Host&) = delete;
  Host& operator=(const Host&) = delete;

  /// The plan's steps, to the end of all of them.
  void RunProgramme();
  /// With everything in order again the device, if it is up, must measure right.
  void StartAgain();
  /// With nothing wrong and nothing running the deuterium lamp must burn when the device says so.
  void CheckLamp();
  /// What runs has to end by itself; then the device is shut down and given back.
  void Close();
  /// A new start with everything in order, and a measurement with right values.
  void Recover();

  // ---- what operations need; see Operations.h ----

  HostFiles& Files() { return m_files; }
  DWORD NextRequestId() { return ++m_dwRequests; }
  std::int64_t AddAndRelease(photometer::IPhotometer& device);
  std::int64_t SetSink(photometer::IPhotometer& device, bool bSet);
  /// 0: without parameters; 1: without calibration; other numbers: with both.
  std::int64_t Initialize(photometer::IPhotometer& device, std::uint32_t dwVariant);
  std::int64_t Shutdown(photometer::IPhotometer& device);
  /// The last one.
  std::int64_t Release();
  std::int64_t Sleep(DWORD dwMilliseconds);
  /// Until the device is not busy, at most so many milliseconds. 1: it is not.
  std::int64_t WaitIdle(DWORD dwMilliseconds);
  std::int64_t InsertCuvette(int iSize);
  std::int64_t MarkWindow(bool bBegins);

 private:
  void CreateDevice();
  void Perform(const Clause& operation, bool bInCallback);
  void RunSteps(Actor actor);
  void RunCallback(std::uint64_t nNumber);
  void PlacePoints();
  [[nodiscard]] bool IsInsideCallback() const;
  /// Parts of `Recover`.
  bool StartUp();
  void MeasureGlass();
  /// A part of `StartAgain`.
  void FlushAgain(photometer::IPhotometer& device);
  /// A measurement leaves the unit set to the same as it did in `StartAgain`, whatever had happened before that.
  void CompareSettings();
  void FailRecovery(const std::string& text);
  /// Cancels what takes long. False: the device stays busy.
  bool BecomeIdle();
  /// One reading at each wavelength; none, and a violation of the property, when that fails.
  MeasureValues Measure(std::string_view property, const std::vector<double>& wavelengths);
  /// Values of the glass against those without it, sample by reference.
  void CheckGlass(std::string_view property, const MeasureValues& values, const std::vector<double>& blanks);
  void PutIntoBeam(const simulator::Sample& sample);
  [[nodiscard]] simulator::OpticalUnitState UnitState() const;

  World& m_world;
  HostSink m_sink;
  HostFiles m_files;
  std::atomic<photometer::IPhotometer*> m_pDevice{nullptr};
  std::atomic<int> m_iInside{0};
  std::atomic<int> m_iActors{0};
  std::atomic<bool> m_bProgrammeEnded{false};
  std::atomic<bool> m_bHalfUp{false};
  /// Calls of `Initialize` and `Shutdown` that have not returned.
  std::atomic<int> m_iStarts{0};
  std::atomic<int> m_iShutdowns{0};
  /// `Shutdown` was called, and no start has brought the device up since.
  std::atomic<bool> m_bDown{false};
  std::atomic<DWORD> m_dwRequests{0};
  std::atomic<DWORD> m_dwCallbackThread{0};
  /// What the unit was set to behind the measurement of `StartAgain`.
  std::optional<simulator::OpticalUnitState> m_setAgain;
  std::multimap<std::uint64_t, const Clause*> m_callbackSteps;
};

}  // namespace explorer
