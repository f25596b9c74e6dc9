/// Bringing the device up and down.
///
/// `Initialize` and `Shutdown` take turns: a second call waits until the first has done. `Shutdown` first stops what
/// runs, an `Initialize` in progress included, and only then waits for its turn. No lock is held while they wait.
#pragma once

#include <atomic>
#include <memory>

#include "device/Instrument.h"
#include "state/Deadline.h"

namespace photometer {

class Lifecycle {
 public:
  explicit Lifecycle(std::shared_ptr<Instrument> pInstrument);
  Lifecycle(const Lifecycle&) = delete;
  Lifecycle& operator=(const Lifecycle&) = delete;

  /// The turns can be taken: an event could be had.
  [[nodiscard]] bool IsUsable() const { return m_pTurns->hTurn != 0; }

  HRESULT Initialize(const PhotometerParameters* pParams, const CalibrationData* pCalib);
  HRESULT Shutdown();
  /// Opens the port of the pump ZQ-420 in its turn. 1 or 0; 0 when the device is not up, or is being shut down.
  LONG OpenSipperPort();
  /// `Shutdown`, unless the device is down already. Also from within a callback's thread, once the callback is over.
  void ShutdownForRelease();

 private:
  /// Whoever gives his turn back may find the object gone as soon as it is free: he keeps this himself.
  struct Turns {
    Turns();
    ~Turns();
    Turns(const Turns&) = delete;
    Turns& operator=(const Turns&) = delete;
    void GiveBack();

    std::atomic<bool> bTaken{false};
    /// Auto-reset; signalled when the turn is given back.
    HANDLE hTurn;
  };
  class Turn;

  /// Ends what an earlier `Initialize` left. False: one of its threads does not end.
  bool EndEarlierStart();
  void StartClean(const CalibrationData& calib);
  /// Lets threads run and call the host from now on. False: a `Shutdown` has begun, and they may not.
  bool LiftStop();
  void LogStart();
  /// From the table to the start-up thread. False: a step failed; what the steps before it made stays.
  bool BringUp();
  bool OpenEvents();
  void StartOpticalUnit();
  bool StartThreads();

  /// Closes the way to the host, wakes all waits and tells the unit to switch everything off. True: a procedure was
  /// running, or the host was writing to the optical port: something may follow the switching off.
  bool StopAndSwitchOff();
  /// What `OpticalLink` switches off, and the motor's current.
  void SwitchAllOff();
  /// Waits for the threads, no longer than the limit, and gives back what `Initialize` acquired. False: a thread has
  /// not ended.
  bool TakeDown(bool bSwitchOffAgain, const Deadline& limit);

  std::shared_ptr<Instrument> m_pInstrument;
  Instrument& m_Instrument;
  std::shared_ptr<Turns> m_pTurns;
  /// Calls of `Shutdown` that have begun and not ended.
  std::atomic<int> m_iShutdowns{0};
  /// `Initialize` has acquired something since the last `Shutdown`.
  std::atomic<bool> m_bUp{false};
};

}  // namespace photometer
