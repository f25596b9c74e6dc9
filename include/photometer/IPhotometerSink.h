/// The callback interface: what the device tells its host.
///
/// All operations but the two queries `GetHostActivity` and `GetHostBusy` are called one at a time, never overlapping,
/// from threads of the library. A callback should be short: while it runs, no other callback can begin. Pointers are
/// valid until the callback returns. A callback may call any operation of `IPhotometer` but `Initialize` and `Shutdown`
/// (which answer E_FAIL); a last `Release` from a callback is carried out after it. None begins after `Shutdown` was
/// called. No exception may leave a callback.
///
/// The order of the operations is fixed: it is the order of the virtual table.
#pragma once

#include <string>
#include <vector>

#include "photometer/Records.h"
#include "photometer/Types.h"

namespace photometer {

class IPhotometerSink {
 public:
  /// Progress and state of every procedure. 25: thread started (value 0); 4: progress, per cent; 15: a measurement
  /// completed, per cent; 17: finished (100); 18: cancelled (100); 1 to 12, 29, 30, 33 to 35, 39, 43: stages of
  /// start-up and wavelength test; 31 and 32: a cuvette has to be removed, and was.
  virtual void OnNotify(DWORD dwRequestId, DWORD dwCode, DWORD dwValue) = 0;
  /// Results of a procedure. A spectrum comes in portions, of which one may be empty.
  virtual void OnResult(DWORD dwRequestId, const MeasureValues* pValues) = 0;
  /// The inserted cuvette changed: 0 none, 10, 14, 20, 40 or 50.
  virtual void OnCuvetteChanged(LONG iCuvetteSize) = 0;
  /// A procedure ended with an instrument error. The request id is 0, but for the wavelength check.
  virtual void OnError(DWORD dwRequestId, DWORD dwError) = 0;
  /// Key B of the pump ZQ-410: a pump cycle has finished.
  virtual void OnSipperKeyB() = 0;
  /// Once a second while the sample settles after pumping, last with 0, s.
  virtual void OnDelayCountdown(DWORD dwRequestId, DWORD dwSeconds) = 0;
  /// The verdicts of the system check changed.
  virtual void OnSystemCheckStatus(const SystemCheckStatus* pStatus) = 0;
  /// The zero values of a successful start-up.
  virtual void OnReferenceValues(const std::vector<WavelengthCalibrationEntry>* pValues) = 0;
  /// Bytes arrived on the external port (all operating modes but 1). What the host writes into `pReply` is sent back.
  virtual void OnExternalPortData(const char* pData, DWORD dwLength, std::string* pReply) = 0;
  /// The interval of the wavelength check has passed.
  virtual void OnWavelengthCheckDue() = 0;
  /// Each second, beside other callbacks: a set flag with a count of 1 or more holds the reminder back.
  virtual void GetHostActivity(BOOL* pActive, LONG* pCount) = 0;
  /// Each second, beside other callbacks: a set flag holds the reminder back.
  virtual void GetHostBusy(BOOL* pBusy) = 0;
  /// Each second while the port of the pump ZQ-420 is lost.
  virtual void OnSipperPortLost() = 0;
  /// Each other second with the pump ZQ-420.
  virtual void OnSipperTick() = 0;
  /// A cycle of the pump ZQ-420 ended.
  virtual void OnSipperCycleDone() = 0;
  /// The data of the pump ZQ-420 changed, or it was first detected.
  virtual void OnSipperInfoChanged() = 0;
  /// A pump or flush operation failed.
  virtual void OnPumpError(DWORD dwRequestId, DWORD dwError) = 0;
  /// 1 before and 0 after the deuterium lamp is switched.
  virtual void OnLampSwitching(BOOL bSwitching) = 0;
  /// Each second of the deuterium lamp's warm-up, last with 0, s.
  virtual void OnWarmUpCountdown(DWORD dwSeconds) = 0;
  /// Before pumping with the ZQ-420 in a measurement: the host fills in the times of the program.
  virtual void QueryPumpProgram(DWORD dwProgram, DWORD* pPumpTime, DWORD* pPumpParam2, DWORD* pDelayTime) = 0;
  /// A flush ended without error.
  virtual void OnFlushCompleted() = 0;
  /// Key A of the pump ZQ-410.
  virtual void OnSipperKeyA() = 0;
  /// 1: the deuterium lamp of a session has warmed up. 0: it was switched off.
  virtual void OnUVLampReady(BOOL bReady) = 0;
  /// 1: a pump was first detected. 0: it was lost.
  virtual void OnSipperConnectionChanged(BOOL bConnected) = 0;
  /// Warm-up time of a deuterium lamp session, s; 0 means 600.
  virtual void GetUVLampWarmUpTime(DWORD* pSeconds) = 0;
  /// Before waiting for a cuvette to be removed: a result that is not 0 skips the wait.
  virtual DWORD QueryCuvetteWait() = 0;

 protected:
  ~IPhotometerSink() = default;
};

}  // namespace photometer
