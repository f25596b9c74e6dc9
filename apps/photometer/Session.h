/// One device object from `CreatePhotometer` to `Release`: start-up, runs and their ends, cancel, shutdown.
///
/// All waiting goes through the layer, in slices, so that the same code runs on both boards and a request of a person
/// to end is noticed. Used by one thread. The board must be set before it is made, and outlive it.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "EventSink.h"
#include "Interrupt.h"
#include "Progress.h"
#include "photometer/IPhotometer.h"

namespace host {

using photometer::HRESULT;

enum class Outcome {
  /// The run finished, the start-up passed.
  Finished,
  /// A person asked to end it.
  Cancelled,
  /// An instrument error; `RunEnd::error` is the last one reported, if any was.
  Failed,
  /// The device did not accept the start; `RunEnd::hResult` says why.
  Refused,
  /// The device became idle without saying how the run ended, or did not become idle in time.
  NoEnd
};

struct RunEnd {
  Outcome outcome = Outcome::NoEnd;
  std::optional<LONG> error;
  HRESULT hResult = photometer::S_OK;
};

/// What `StartUp` does with an instrument that has not passed.
enum class AfterFailure { ShutDown, StayOn };

/// When a run tells its end: before it becomes not busy, or just after, as the wavelength test does.
enum class EndNotice { BeforeIdle, AfterIdle };

using StartOperation = std::function<HRESULT(photometer::IPhotometer&)>;
using EventHandler = std::function<void(const HostEvent&)>;

/// How something is waited for that is no run.
struct Attendance {
  /// Of every event.
  EventHandler handler;
  std::function<bool()> isOver;
  /// Ends it before its time, at a person's first request.
  std::function<void()> cancel;
  /// After which it should have ended by itself.
  DWORD dwSeconds;
};

class Session {
 public:
  /// All must outlive it; the transcript may be null.
  Session(Progress& progress, const Interrupt& interrupt, photometer::platform::Transcript* pTranscript);
  /// Shuts the device down, if that has not been done, and gives it back.
  ~Session();
  Session(const Session&) = delete;
  Session& operator=(const Session&) = delete;

  /// False: there is no device; nothing else may be called.
  [[nodiscard]] bool HasDevice() const { return m_pDevice != nullptr; }
  photometer::IPhotometer& Device() { return *m_pDevice; }

  /// Runs the start-up and waits for its end. A person's first request ends it by a shutdown: it cannot be cancelled.
  RunEnd StartUp(const photometer::PhotometerParameters& params, const photometer::CalibrationData& calibration,
                 AfterFailure after = AfterFailure::ShutDown);
  /// Calls a start operation, hands every event of the run to the handler, and waits for the end of the run. A person's
  /// first request cancels the run, a second one shuts the device down at once.
  RunEnd Run(const StartOperation& start, const EventHandler& handler, EndNotice notice = EndNotice::BeforeIdle);
  /// Waits at most so long, s, until the device is in a state. `NoEnd`: it was not in that time.
  Outcome WaitUntil(const std::function<bool(photometer::IPhotometer&)>& isReached, DWORD dwSeconds);
  /// The same for a cuvette in the holder.
  Outcome WaitForCuvette(DWORD dwSeconds);
  /// The same until there is none.
  Outcome WaitForEmptyHolder(DWORD dwSeconds);
  /// The cuvette in the holder is that of the last run: it has not been changed since.
  bool HoldsMeasuredCuvette();
  /// Shows what has been told and belongs to no run.
  void TellNews();
  /// Hands each event to the handler and asks after each slice whether to go on: `Finished` when not, `NoEnd` when the
  /// time, s, is over (nothing: there is no limit), `Cancelled` when a person has asked more than `iRequests` times to
  /// end it. Shows nothing and ends nothing.
  Outcome Listen(const EventHandler& handler, const std::function<bool()>& goesOn, std::optional<DWORD> dwSeconds,
                 int iRequests = 0);
  /// Waits for the end of what has been started. `NoEnd` and a second request of a person end it by a shutdown.
  Outcome Attend(const Attendance& attendance);
  /// Warm-up time of the deuterium lamp's sessions, s.
  void SetLampWarmUpTime(DWORD dwSeconds) { m_sink.SetLampWarmUpTime(dwSeconds); }
  /// Switches the instrument off. Harmless when repeated.
  void Shutdown();
  /// `StartUp` was called, and no shutdown since.
  [[nodiscard]] bool IsOn() const { return !m_bShutDown; }

 private:
  struct Waiting;
  void Handle(const std::vector<HostEvent>& events, Waiting& waiting);
  bool IsBusy();
  /// How often a person has asked to end what runs; each is noted in the transcript.
  int Requests();
  RunEnd WaitForStartUp(photometer::platform::HANDLE hStarter, const std::atomic<HRESULT>& hResult);
  void FollowInterrupt(Waiting& waiting);
  /// Waits until the run is over. Something is returned when it was ended by a shutdown.
  std::optional<RunEnd> WaitForIdle(Waiting& waiting);

  Progress& m_progress;
  const Interrupt& m_interrupt;
  photometer::platform::Transcript* m_pTranscript;
  int m_iNoted;
  EventSink m_sink;
  photometer::IPhotometer* m_pDevice;
  bool m_bShutDown = true;
  bool m_bMeasured = false;
};

}  // namespace host
