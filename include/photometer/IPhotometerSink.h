/// The callback interface: what the device tells its host.
///
/// **Threads.** Callbacks come from threads of the library, one at a time: while one runs, no other can begin, and the
/// run waits. So a callback should be short. There are three exceptions: `GetHostActivity` and `GetHostBusy` come
/// beside other callbacks, and `GetUVLampWarmUpTime` comes from the thread that calls `SetUVLamp`, inside a callback
/// when that is called there.
///
/// **Rules.** Pointers are valid until the callback returns. A callback may call any operation of `IPhotometer` but
/// `Initialize` and `Shutdown` (which answer E_FAIL); a last `Release` from a callback is carried out after it. None
/// begins after `Shutdown` was called, until the next `Initialize`. No exception may leave a callback.
///
/// The order of the operations is fixed: it is the order of the virtual table.
#pragma once

#include <string>
#include <vector>

#include "photometer/Records.h"
#include "photometer/Types.h"

namespace photometer {

/// What the host implements; `EmptySink` does nothing where it does not. Request ids are those of the requests, 0 where
/// no request belongs to the call.
class IPhotometerSink {
 public:
  /// Progress and state. The request id is 0 but for 15, 17, 18 and 25. IPhotometer.h tells which codes end a run.
  ///
  ///     code  value     from                       meaning
  ///        1  per cent  start-up                   lamp test
  ///        2  100       start-up                   lamp test passed
  ///        3  100       start-up                   lamp test failed
  ///        4  per cent  all self-tests             search for the peak of the holmium oxide filter
  ///        5  100       start-up                   wavelength test passed
  ///           100       system check               wavelength step done, whatever its verdict
  ///           0         wavelength test            correction found
  ///        6  100       start-up                   wavelength test failed
  ///           0         wavelength test            failed
  ///        7  per cent  start-up, wavelength test  zero measurement; 0 also when a wavelength test failed
  ///        8  100       start-up                   zero measurement done
  ///       10  0         start-up                   begins
  ///       11  100       start-up                   passed; `OnReferenceValues` follows
  ///       12  result    start-up                   failed; the number that `OnError` told, signed
  ///       15  per cent  measurement                a wavelength is done
  ///           per cent  wavelength check           begins (10), then a peak is done; the last need not be 100
  ///       17  100       runs of a request          finished
  ///       18  100       runs of a request          cancelled
  ///       25  0         runs of a request          the run's thread has started
  ///       29  0         wavelength test            begins, after 43 and 33
  ///       30  0         wavelength test            passed
  ///       31  who       see below                  a cuvette has to be removed
  ///       32  who       see below                  it was removed
  ///       33  0         wavelength test            requested
  ///       34  0         wavelength test            measures the zero values anew
  ///       35  0         wavelength test            failed
  ///       39  0         start-up                   ended, after 43
  ///       43  0, 1      start-up, wavelength test  begins, has ended
  ///
  /// Self-tests are start-up, wavelength test, wavelength check and system check. Who waits for the cuvette: 0 the
  /// wavelength check, 1 the start-up, 2 the wavelength test.
  virtual void OnNotify(DWORD dwRequestId, DWORD dwCode, DWORD dwValue) = 0;
  /// Results of a run: of a measurement the readings of one wavelength; of a spectrum and a holmium scan portions,
  /// which may be empty; of a timed series one reading; of a turbidity run both readings; of a wavelength check all
  /// peaks.
  virtual void OnResult(DWORD dwRequestId, const MeasureValues* pValues) = 0;
  /// The inserted cuvette changed: 0 none or fixation, 10, 14, 20, 40 or 50 (mm).
  virtual void OnCuvetteChanged(LONG iCuvetteSize) = 0;
  /// A run ended with an instrument error, or (541 to 545) new pump parameters failed. The request id is 0; a
  /// wavelength check calls a second time, with its own. The number is signed in truth: 4294967293 is −3.
  virtual void OnError(DWORD dwRequestId, DWORD dwError) = 0;
  /// Key B of the pump ZQ-410: a cycle that the pump has run by itself has finished.
  virtual void OnSipperKeyB() = 0;
  /// Each second while the sample settles after pumping: what is left, s. Last with 0, which a cancel brings at once.
  virtual void OnDelayCountdown(DWORD dwRequestId, DWORD dwSeconds) = 0;
  /// Verdicts or states of the system check changed.
  virtual void OnSystemCheckStatus(const SystemCheckStatus* pStatus) = 0;
  /// The zero values of a successful start-up, after `OnNotify` 11. Those of a wavelength test are not told:
  /// `GetWavelengthCalibration` has them.
  virtual void OnReferenceValues(const std::vector<WavelengthCalibrationEntry>* pValues) = 0;
  /// Bytes arrived on the external port (all operating modes but 1). What the host writes into `pReply` is sent back.
  virtual void OnExternalPortData(const char* pData, DWORD dwLength, std::string* pReply) = 0;
  /// The device has been idle for the interval of the wavelength check, and neither query below holds this back.
  virtual void OnWavelengthCheckDue() = 0;
  /// Each second, beside other callbacks: a set flag with a count of 1 or more holds `OnWavelengthCheckDue` back. Both
  /// hold what was answered last.
  virtual void GetHostActivity(BOOL* pActive, LONG* pCount) = 0;
  /// Each second, beside other callbacks: a set flag holds `OnWavelengthCheckDue` back. It holds what was answered
  /// last.
  virtual void GetHostBusy(BOOL* pBusy) = 0;
  /// Each second in operating mode 2 while the port of the pump ZQ-420 is lost, until `OpenSipperPort`.
  virtual void OnSipperPortLost() = 0;
  /// Each second in operating mode 2 that brings neither `OnSipperPortLost` nor `OnSipperCycleDone`.
  virtual void OnSipperTick() = 0;
  /// In operating mode 2, within a second after a cycle of the pump ZQ-420, a flush too, has ended, however it did;
  /// while the port is lost, not before it is open again. Not told of a cycle that found no detected pump, or whose
  /// turn at the pump never came.
  virtual void OnSipperCycleDone() = 0;
  /// The data of the pump ZQ-420 changed, or it was first detected.
  virtual void OnSipperInfoChanged() = 0;
  /// A flush failed (522 to 525, 612, 614 to 617), or the ZQ-420's cycle in a run (612, 614 to 617). The request id is
  /// 0. That the ZQ-410's cycle failed in a run (512 to 514) stands in the log (measurement) or the debug output alone.
  virtual void OnPumpError(DWORD dwRequestId, DWORD dwError) = 0;
  /// 1 before and 0 after a run or a warm-up switches the deuterium lamp. Not told: a switch-off by host or timer.
  virtual void OnLampSwitching(BOOL bSwitching) = 0;
  /// Each second of the deuterium lamp's warm-up: what is left, s. Last with 0, which a switch-off brings early.
  virtual void OnWarmUpCountdown(DWORD dwSeconds) = 0;
  /// Before a measurement with a pump program draws with the ZQ-420: the host may replace the program's times (pump
  /// time and settling time, s). They hold the stored ones.
  virtual void QueryPumpProgram(DWORD dwProgram, DWORD* pPumpTime, DWORD* pPumpParam2, DWORD* pDelayTime) = 0;
  /// A flush ended without error; a cancelled one of the ZQ-420, too.
  virtual void OnFlushCompleted() = 0;
  /// Key A of the pump ZQ-410.
  virtual void OnSipperKeyA() = 0;
  /// 1: the warm-up time of a deuterium lamp session is over. 0: the library has switched the lamp off, since it idled
  /// or burnt too long. Not told: its end by `SetUVLamp` or an error.
  virtual void OnUVLampReady(BOOL bReady) = 0;
  /// 1: a pump was detected. 0: it was lost.
  virtual void OnSipperConnectionChanged(BOOL bConnected) = 0;
  /// Warm-up time of a deuterium lamp session, s; 0 means 600. Comes from the thread that calls `SetUVLamp`.
  virtual void GetUVLampWarmUpTime(DWORD* pSeconds) = 0;
  /// Before a self-test looks whether a cuvette has to be removed: a result that is not 0 skips look and wait.
  virtual DWORD QueryCuvetteWait() = 0;

 protected:
  ~IPhotometerSink() = default;
};

}  // namespace photometer
