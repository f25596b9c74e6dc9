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
/// their own; they arrive through `OnError` and `OnPumpError`. No exception crosses the interface but that of a
/// process without memory (`std::bad_alloc`); `CreatePhotometer` answers null to that.
///
/// **Threads.** All operations may be called from any thread, and all but `Initialize` and `Shutdown` also from within
/// a callback. All return at once, but these:
///
/// - `Initialize` blocks while it reads the firmware version: 60 s without a unit. Answers that are still owed to an
///   earlier `Shutdown` or `WriteOpticalPort` are waited for before: until 10 s have passed without one, 60 s where a
///   motion was asked for. `Shutdown` from another thread ends all these waits.
/// - `Shutdown`, and the last `Release`, return within about 3 s, whatever runs.
/// - `OpenSipperPort` takes turns with both: it waits for an `Initialize` that brings the device up. While one still
///   ends an earlier start, or waits for a thread of it, the answer is 0 within 0.1 s.
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

/// The device. "State lock" says that the operation takes the device's internal lock for a moment; no callback is made
/// with it held.
///
/// The start operations look at the request first: E_POINTER for none, E_INVALIDARG for a value outside the range that
/// Requests.h gives. E_FAIL, or what stands there, when the device is busy, not initialised or being shut down, or the
/// run's thread cannot be had.
class IPhotometer {
 public:
  /// Adds a reference. The counter is one for the whole library. Returns its new value.
  virtual LONG AddRef() = 0;
  /// Gives a reference back. At 0 the object is shut down, if it was not, and destroyed; in a callback, after it.
  /// Returns the new value.
  virtual LONG Release() = 0;
  /// A copy of the status. State lock.
  virtual DeviceStatus GetStatus() = 0;
  /// A copy of the pump's state. State lock.
  virtual PumpInfo GetPumpInfo() = 0;
  /// Deuterium lamp: −1 unknown, 0 off, 1 on. State lock.
  virtual LONG GetUVLampState() = 0;
  /// Code of the inserted cuvette, 0 none, as it was last told or set. State lock.
  virtual LONG GetCuvetteSize() = 0;
  /// Overwrites this code until the cuvette changes. State lock.
  virtual void SetCuvetteSize(LONG iCuvetteSize) = 0;
  /// On: starts the warm-up of the deuterium lamp, also after a failed start-up. 0; E_FAIL when busy, before
  /// `Initialize`, while the device is shut down, without an optical port or a thread. The device is busy until the
  /// warm-up has ended: after 90 s, or, with a session value that is not 0, after what `GetUVLampWarmUpTime` answers
  /// (asked here, on this thread). That it failed stands in the log alone. A session's lamp burns for up to 10 hours,
  /// another until it has been idle for the session time.
  /// Off: ends the session, a warm-up too, and switches lamp and fan off, whatever runs. 1 when the commands were taken
  /// (sent behind a running exchange), 0 when they could not be written. State lock; on with a session: sink lock.
  virtual LONG SetUVLamp(BOOL bOn, DWORD dwSession) = 0;
  /// Registers the sink; null for none. A callback that has begun may still be running when this returns.
  virtual void SetSink(IPhotometerSink* pSink) = 0;
  /// Takes over both records and starts the device; a start-up that still runs, and what a failed one left, is ended
  /// first. 0, also when a port cannot be opened: without the optical one the start-up fails. E_ACCESSDENIED when
  /// initialised. E_POINTER for a null record; the parameters are taken over when only the calibration is null. E_FAIL
  /// from a callback; when the polynomial gives no usable table; when pins, events or threads cannot be had; when a
  /// thread of an earlier start is still held in a callback; when a `Shutdown` came meanwhile. After E_FAIL, `Shutdown`
  /// or another `Initialize` gives back what was acquired. State lock.
  virtual HRESULT Initialize(const PhotometerParameters* pParams, const CalibrationData* pCalib) = 0;
  /// Switches the optical unit off, ends all threads and gives back what `Initialize` acquired. Always 0, but E_FAIL
  /// from a callback. Harmless when repeated. State lock.
  virtual HRESULT Shutdown() = 0;
  /// Stores and applies baud rate (bits/s), data bits (5 to 8) and parity (0 none, 1 odd, 2 even) of the external port.
  /// Always 0: settings that the port refuses are stored all the same. State lock.
  virtual HRESULT SetExternalPortSettings(DWORD dwBaudRate, DWORD dwByteSize, DWORD dwParity) = 0;
  /// Applies the stored settings again; 19200, 8, none when `Initialize` was given operating mode 1. Always 0. State
  /// lock.
  virtual HRESULT ResetExternalPortSettings() = 0;
  /// Stores pump time (s), second parameter and settling time (s) for the runs that follow, and for a measurement or
  /// spectrum that has yet to draw its sample. The ZQ-410 takes 0 to 999 of the first two: beyond, a run that pumps
  /// ends with error 531. State lock.
  virtual void SetPumpParameters(DWORD dwPumpTime, DWORD dwPumpParam2, DWORD dwDelayTime) = 0;
  /// Says whether a sipper pump is there. State lock.
  virtual void SetSipperDetected(BOOL bDetected) = 0;
  /// Switches the use of the pump off (not 0) or on (0). State lock.
  virtual void SetPumpDisabled(BOOL bDisabled) = 0;
  /// 0 pass-through, 1 pump ZQ-410, 2 pump ZQ-420. A change forgets the detected pump; the ports keep their settings.
  /// State lock.
  virtual void SetOperatingMode(LONG iMode) = 0;
  /// Asks the ZQ-420 whether it is there. State lock.
  virtual void SendSipperPing() = 0;
  /// Asks the ZQ-420 for its running time. State lock.
  virtual void RequestSipperRunTime() = 0;
  /// Asks the ZQ-420 for what is not known yet: its data, then its running time. State lock.
  virtual void RequestSipperData() = 0;
  /// Starts a flush beside whatever runs. The time, s, counts for the ZQ-420; the ZQ-410 has one of its own. 0; E_FAIL
  /// when not initialised (the flush runs all the same) or without an event or thread, and, with no flush, after
  /// `Shutdown` until the next `Initialize`. It ends with `OnFlushCompleted` or `OnPumpError`. State lock.
  virtual HRESULT StartFlush(DWORD dwFlushTime) = 0;
  /// Ends every flush and cycle of the ZQ-420: a run that draws its sample, or is about to, ends as cancelled. The
  /// ZQ-410 goes on. Always 0. State lock.
  virtual HRESULT CancelFlush() = 0;
  /// Forgets that the ZQ-410 reported a finished cycle. State lock.
  virtual void ResetPumpCycleFlag() = 0;
  /// Stores the time, s, after which an idle deuterium lamp without a session is switched off. Always 0. State lock.
  virtual HRESULT SetUVSessionTime(DWORD dwSeconds) = 0;
  /// Reads the cuvette switches now: −1 fixation, 0 none or device not up, 10, 14, 20, 40, 50 (mm). State lock.
  virtual LONG GetCuvetteState() = 0;
  /// Asks the running procedure to end as cancelled. 0; E_FAIL when none runs. It ends at its next look: the setting
  /// of the optics, a reading, or a series' cycle that has begun is completed first, and so are the lamp's warm-up of
  /// 90 s, a ZQ-410's cycle, a spectrum's segment and a wavelength check's pass. The flushes of the ZQ-420 that run
  /// end, too. A holmium scan and the warm-up of `SetUVLamp` take no notice. Start-up and wavelength test fail (−2)
  /// when the cancel comes before the holmium filter has been recorded, and take no notice later; the system check goes
  /// on, in the first case with its wavelength step failed. State lock.
  virtual HRESULT CancelMeasurement() = 0;
  /// The last zero value within less than 0.1 nm of the wavelength, nm. 0; E_FAIL when there is none or not
  /// initialised; E_POINTER. State lock.
  virtual HRESULT GetWavelengthCalibration(double dWavelength, WavelengthCalibrationEntry* pEntry) = 0;
  /// Replaces the zero values. 0; E_FAIL when not initialised; E_POINTER. State lock.
  virtual HRESULT SetWavelengthCalibrations(const std::vector<WavelengthCalibrationEntry>* pEntries) = 0;
  /// Sends bytes to the optical unit, after a running exchange; the next one waits for the answers to the commands in
  /// them. 0, also when they could not be written, and while the device is shut down: they are dropped then. E_FAIL
  /// when busy and not initialised (start-up, wavelength test or warm-up after a failed one); E_POINTER. State lock.
  virtual HRESULT WriteOpticalPort(const BYTE* pData, DWORD dwLength) = 0;
  /// Sends bytes to the external port. 0, also for no bytes, and when they could not be written; E_FAIL when busy and
  /// not initialised, as above; E_POINTER. State lock.
  virtual HRESULT WriteExternalPort(const BYTE* pData, DWORD dwLength) = 0;
  /// Starts a measurement. State lock.
  virtual HRESULT StartMeasure(const MeasureRequest* pRequest) = 0;
  /// Starts a spectrum. E_ACCESSDENIED when busy or not initialised; E_INVALIDARG also for a range that the polynomial
  /// gives no wavelengths for. State lock.
  virtual HRESULT StartScan(const ScanRequest* pRequest) = 0;
  /// Starts a holmium oxide scan. State lock.
  virtual HRESULT StartHolmiumOxideScan(const HolmiumOxideScanRequest* pRequest) = 0;
  /// Starts a timed series. State lock.
  virtual HRESULT StartKinetics(const KineticsRequest* pRequest) = 0;
  /// Starts two turbidity readings. State lock.
  virtual HRESULT StartTurbidityMeasurement(const TurbidityRequest* pRequest) = 0;
  /// Starts a wavelength check. State lock.
  virtual HRESULT StartWavelengthCheck(const WavelengthCheckRequest* pRequest) = 0;
  /// Starts a system check; its results come through `OnSystemCheckStatus`. State lock.
  virtual HRESULT StartSystemCheck(const SystemCheckRequest* pRequest) = 0;
  /// Stores pump time (s) and second parameter and, when `Initialize` was given operating mode 1, starts to send them
  /// to the ZQ-410. 0; nothing is stored without a detected pump. E_FAIL: no thread for the sending. Its failure comes
  /// through `OnError`: 541 for a parameter beyond 0 to 999, 542, 543, 545; lamps are then switched off, unless a run
  /// has them. State lock.
  virtual HRESULT UpdatePumpParameters(DWORD dwPumpTime, DWORD dwPumpParam2) = 0;
  /// Stores the interval of the reminders of the wavelength check, minutes; 0 for none. Always 0. State lock.
  virtual HRESULT SetWavelengthCheckInterval(DWORD dwMinutes) = 0;
  /// Starts a wavelength test, also after a failed start-up: `bInitialized` is its outcome. 0; E_FAIL when busy, before
  /// `Initialize`, while the device is shut down, without an optical port or a thread. State lock.
  virtual HRESULT StartWaveLengthTest() = 0;
  /// Counts as activity now. Always 0. State lock.
  virtual HRESULT ResetActivityTime() = 0;
  /// Opens the port of the pump ZQ-420 again, after `OnSipperPortLost`. 1; 0 when that fails, and while the device
  /// is not up. A port that is open is lost by it, and the pump with it: 0. Waits for its turn; in a callback all
  /// others wait with it. State lock.
  virtual LONG OpenSipperPort() = 0;

 protected:
  ~IPhotometer() = default;
};

}  // namespace photometer

/// Makes the device object with one reference. Null when it cannot be made: no memory, or no board (the reason is
/// written to standard error). The library's only exported function; it is meant for one object in a process.
extern "C" __attribute__((visibility("default"))) photometer::IPhotometer* CreatePhotometer();
