/// The host interface of the photometer library.
///
/// **Calling order.** `CreatePhotometer`; `SetSink`; `Initialize`, which returns while the start-up self-test runs;
/// when that has ended and `GetStatus().bInitialized` is 1, any number of start operations, one at a time; `Shutdown`;
/// `Release`. After `Shutdown`, `Initialize` may follow again. The small operations may be called at any time after
/// `CreatePhotometer`.
///
/// **Ends of a run.** A run is over when `GetStatus().bBusy` is 0: start the next one then. What it tells of its end
/// (numbers are codes of `OnNotify`, all of them described there):
///
///     measurement, spectrum        17 (finished), 18 (cancelled) or `OnError`
///     timed series, turbidity      17, 18, `OnError`, or both of these: an error after a cancel
///     wavelength check             17, 18, or `OnError` twice: with request id 0, then with that of the request
///     system check, holmium scan   17 or `OnError`
///     start-up                     11, or `OnError` and 12; when no longer busy, 43 with value 1 and then 39
///     wavelength test              `OnError` if it failed; when no longer busy, 43 with 1 and then 30 or 35
///     warm-up of `SetUVLamp`       nothing: `GetUVLampState` is 1 when the lamp is lit
///
/// All but those last codes of start-up and wavelength test come before `bBusy` is cleared. A run whose pump cycle
/// failed, and one that `Shutdown` ends, tells none of them. `OnError` with 541 to 545 is no end: it belongs to
/// `UpdatePumpParameters`.
///
/// **Results.** Operations return 0 or one of the codes of Types.h. Instrument errors of the procedures are numbers of
/// their own; they arrive through `OnError` and `OnPumpError`. No exception crosses the interface.
///
/// **Threads.** All operations may be called from any thread, and all but `Initialize` and `Shutdown` also from within
/// a callback. All return at once, but these:
///
/// - `Initialize` blocks while it reads the firmware version: 60 s without a unit. Answers that are still owed to an
///   earlier `Shutdown` or `WriteOpticalPort` are waited for before: until 10 s have passed without one, 60 s where a
///   motion was asked for. `Shutdown` from another thread ends all these waits.
/// - `Shutdown`, and the last `Release`, return within about 3 s, whatever runs.
/// - `OpenSipperPort` takes turns with both, and so waits for an `Initialize` in progress.
/// - `SetUVLamp` with a session calls the host, after a callback that runs has returned: hold no lock that a callback
///   takes.
///
/// **Ownership.** The object belongs to the library; its host owns one reference from `CreatePhotometer` on and gives
/// it back with `Release`. The sink belongs to the host: it must live until `Shutdown` has returned, and until a
/// callback that outlasted it has; so long the library must stay loaded, too. Records given to the device are copied
/// before the operation returns.
///
/// **Binary interface.** The order of the operations is that of the virtual table. Strings and lists cross the boundary
/// as those of libstdc++ (new ABI, without debug mode): host and library must agree on it.
#pragma once

#include <vector>

#include "photometer/IPhotometerSink.h"
#include "photometer/Records.h"
#include "photometer/Requests.h"
#include "photometer/Types.h"

namespace photometer {

/// The device. "State lock" says that the operation takes the device's internal lock for a moment.
class IPhotometer {
 public:
  /// Adds a reference. The counter is one for the whole library. Returns its new value.
  virtual LONG AddRef() = 0;
  /// Gives a reference back; at 0 the object is shut down, if it was not, and destroyed. Returns the new value.
  virtual LONG Release() = 0;
  /// A copy of the status. State lock.
  virtual DeviceStatus GetStatus() = 0;
  /// A copy of the pump's state. State lock.
  virtual PumpInfo GetPumpInfo() = 0;
  /// Deuterium lamp: −1 unknown, 0 off, 1 on. State lock.
  virtual LONG GetUVLampState() = 0;
  /// Code of the inserted cuvette. State lock.
  virtual LONG GetCuvetteSize() = 0;
  /// Overwrites the code of the inserted cuvette. State lock.
  virtual void SetCuvetteSize(LONG iCuvetteSize) = 0;
  /// On: starts the lamp's warm-up, with a session value that is not 0 as a session; 0, or E_FAIL while a procedure
  /// runs or when not initialised. Off: switches lamp and fan off; 1 when the commands were taken, else 0.
  virtual LONG SetUVLamp(BOOL bOn, DWORD dwSession) = 0;
  /// Registers the sink; null for none. A callback that has begun may still be running when this returns.
  virtual void SetSink(IPhotometerSink* pSink) = 0;
  /// Takes over both records and starts the device. 0; E_POINTER for a null record; E_ACCESSDENIED when initialised;
  /// E_FAIL when pins, events or threads cannot be had, the polynomial gives no usable table, or from a callback.
  virtual HRESULT Initialize(const PhotometerParameters* pParams, const CalibrationData* pCalib) = 0;
  /// Switches the optical unit off, ends all threads and gives back what `Initialize` acquired. Always 0, but E_FAIL
  /// from a callback. Harmless when repeated.
  virtual HRESULT Shutdown() = 0;
  /// Stores and applies baud rate, data bits and parity of the external port. Always 0. State lock.
  virtual HRESULT SetExternalPortSettings(DWORD dwBaudRate, DWORD dwByteSize, DWORD dwParity) = 0;
  /// Applies the stored settings again; 19200, 8, none when the parameters' operating mode is 1. Always 0. State lock.
  virtual HRESULT ResetExternalPortSettings() = 0;
  /// Stores pump time (s), second parameter and settling time (s). State lock.
  virtual void SetPumpParameters(DWORD dwPumpTime, DWORD dwPumpParam2, DWORD dwDelayTime) = 0;
  /// Says whether a sipper pump is there. State lock.
  virtual void SetSipperDetected(BOOL bDetected) = 0;
  /// Switches the use of the pump off (not 0) or on (0). State lock.
  virtual void SetPumpDisabled(BOOL bDisabled) = 0;
  /// 0 pass-through, 1 pump ZQ-410, 2 pump ZQ-420. A change forgets the detected pump. State lock.
  virtual void SetOperatingMode(LONG iMode) = 0;
  /// Asks the ZQ-420 whether it is there.
  virtual void SendSipperPing() = 0;
  /// Asks the ZQ-420 for its running time.
  virtual void RequestSipperRunTime() = 0;
  /// Asks the ZQ-420 for what is not known yet: its data, then its running time.
  virtual void RequestSipperData() = 0;
  /// Starts a flush of the given time, s. 0; E_FAIL when not initialised (the flush runs all the same) or without
  /// thread.
  virtual HRESULT StartFlush(DWORD dwFlushTime) = 0;
  /// Ends a flush. Always 0. State lock.
  virtual HRESULT CancelFlush() = 0;
  /// Forgets that the ZQ-410 reported a finished cycle. State lock.
  virtual void ResetPumpCycleFlag() = 0;
  /// Stores the idle time of the deuterium lamp, s. Always 0. State lock.
  virtual HRESULT SetUVSessionTime(DWORD dwSeconds) = 0;
  /// Reads the cuvette switches now: −1 fixation, 0 none, 10, 14, 20, 40, 50. State lock.
  virtual LONG GetCuvetteState() = 0;
  /// Cancels the running procedure. 0; E_FAIL when none runs. State lock.
  virtual HRESULT CancelMeasurement() = 0;
  /// The last zero value within less than 0.1 nm of the wavelength. 0; E_FAIL when there is none or not initialised;
  /// E_POINTER. State lock.
  virtual HRESULT GetWavelengthCalibration(double dWavelength, WavelengthCalibrationEntry* pEntry) = 0;
  /// Replaces the zero values. 0; E_FAIL when not initialised; E_POINTER. State lock.
  virtual HRESULT SetWavelengthCalibrations(const std::vector<WavelengthCalibrationEntry>* pEntries) = 0;
  /// Sends bytes to the optical unit, after a running exchange; the next one waits for the answers to the commands in
  /// them. 0; E_FAIL during the start-up; E_POINTER. State lock. While the device is shut down they are dropped.
  virtual HRESULT WriteOpticalPort(const BYTE* pData, DWORD dwLength) = 0;
  /// Sends bytes to the external port. 0, also for no bytes; E_FAIL during the start-up; E_POINTER. State lock.
  virtual HRESULT WriteExternalPort(const BYTE* pData, DWORD dwLength) = 0;
  /// Starts a measurement. 0, E_POINTER, E_INVALIDARG; E_FAIL when busy or not initialised. State lock.
  virtual HRESULT StartMeasure(const MeasureRequest* pRequest) = 0;
  /// Starts a spectrum. 0, E_POINTER, E_INVALIDARG, E_FAIL; E_ACCESSDENIED when busy or not initialised. State lock.
  virtual HRESULT StartScan(const ScanRequest* pRequest) = 0;
  /// Starts a holmium oxide scan. 0, E_POINTER, E_INVALIDARG; E_FAIL when busy or not initialised. State lock.
  virtual HRESULT StartHolmiumOxideScan(const HolmiumOxideScanRequest* pRequest) = 0;
  /// Starts a timed series. 0, E_POINTER, E_INVALIDARG; E_FAIL when busy or not initialised. State lock.
  virtual HRESULT StartKinetics(const KineticsRequest* pRequest) = 0;
  /// Starts two turbidity readings. 0, E_POINTER; E_FAIL when busy or not initialised. State lock.
  virtual HRESULT StartTurbidityMeasurement(const TurbidityRequest* pRequest) = 0;
  /// Starts a wavelength check. 0, E_POINTER, E_INVALIDARG; E_FAIL when busy or not initialised. State lock.
  virtual HRESULT StartWavelengthCheck(const WavelengthCheckRequest* pRequest) = 0;
  /// Starts a system check. 0, E_POINTER, E_INVALIDARG; E_FAIL when busy or not initialised. State lock.
  virtual HRESULT StartSystemCheck(const SystemCheckRequest* pRequest) = 0;
  /// Sends new pump parameters to the ZQ-410. 0 or E_FAIL.
  virtual HRESULT UpdatePumpParameters(DWORD dwPumpTime, DWORD dwPumpParam2) = 0;
  /// Stores the interval of the wavelength check, minutes. Always 0. State lock.
  virtual HRESULT SetWavelengthCheckInterval(DWORD dwMinutes) = 0;
  /// Starts a wavelength test, also after a failed start-up. 0; E_FAIL while a procedure runs. State lock.
  virtual HRESULT StartWaveLengthTest() = 0;
  /// Counts as activity now. Always 0. State lock.
  virtual HRESULT ResetActivityTime() = 0;
  /// Opens the port of the pump ZQ-420 (again). 1 or 0.
  virtual LONG OpenSipperPort() = 0;

 protected:
  ~IPhotometer() = default;
};

}  // namespace photometer

/// Makes the device object with one reference. Null when it cannot be made: no memory, or no board (the reason is
/// written to standard error). The library's only exported function; it is meant for one object in a process.
extern "C" __attribute__((visibility("default"))) photometer::IPhotometer* CreatePhotometer();
