/// The records that a host gives to the device or receives from it. All are plain values: the device copies what it is
/// given, and what it hands out is a copy or, in a callback, valid only until the callback returns.
///
/// Wavelengths are nanometres, positions are steps of the monochromator's motor, detector values are counts of the
/// analogue-to-digital converter, ticks are milliseconds of a 32-bit counter that wraps.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "photometer/Types.h"

namespace photometer {

/// State of the device (`GetStatus`).
struct DeviceStatus {
  /// 1 while the deuterium lamp is known to be lit, else 0.
  BOOL bUVLampOn;
  /// 1 after a successful start-up or wavelength test, 0 after a failed one and after `Shutdown`.
  BOOL bInitialized;
  /// 1 while a procedure owns the optical unit: a run, start-up, wavelength test or warm-up.
  BOOL bBusy;
  /// 1 from a cancel to the end of the running procedure.
  BOOL bCancel;
  /// Firmware version of the optical unit, zero-terminated. Empty before the first `Initialize`, "-" until it has been
  /// read.
  char16_t szFirmwareVersion[32];
  /// 1 when a sipper pump has announced itself or the host said so.
  BOOL bSipperDetected;
  /// Tick of the last activity: results told, the deuterium lamp switched by a run, the end of a procedure, a reminder
  /// of the wavelength check, `ResetActivityTime`.
  DWORD dwLastActivityTick;
  /// Code of the inserted cuvette: 0 none, 10, 14, 20, 40 or 50 (mm).
  LONG iCuvetteSize;
};
static_assert(sizeof(DeviceStatus) == 92 && offsetof(DeviceStatus, szFirmwareVersion) == 16 &&
              offsetof(DeviceStatus, bSipperDetected) == 80 && offsetof(DeviceStatus, iCuvetteSize) == 88);

/// What the instrument is and how it is set (`Initialize`).
struct PhotometerParameters {
  /// Wavelength polynomial: position p has the wavelength (dA p^3 + dB p^2 + dC p + dD) / 1000000, rounded to 0.01 nm.
  double dA;
  double dB;
  double dC;
  double dD;
  /// Filter change wavelengths, nm, falling from upper to lower. `MiddleFilterWL` is not used with `bUV`.
  DWORD UpperFilterWL;
  DWORD MiddleFilterWL;
  DWORD LowerFilterWL;
  /// Range of the halogen lamp, nm. `HalogenMax` is the highest wavelength of every request.
  DWORD HalogenMin;
  DWORD HalogenMax;
  /// Range of the deuterium lamp, nm. `UVMin` is the lowest wavelength of every request with `bUV`.
  DWORD UVMin;
  DWORD UVMax;
  /// Not 0: the instrument has the deuterium lamp's path. Also selects the cuvette switches' coding.
  BOOL bUV;
  /// Settings of the external port: baud, data bits, parity (0 none, 1 odd, 2 even).
  DWORD dwBaudRate;
  DWORD dwByteSize;
  DWORD dwParity;
  /// 0 pass-through, 1 pump ZQ-410 on the external port, 2 pump ZQ-420 on its own port.
  DWORD dwOperatingMode;
  /// Pump time (s), second pump parameter, settling time after pumping (s).
  DWORD PumpTime;
  DWORD PumpParam2;
  DWORD DelayTime;
  /// Idle time after which the deuterium lamp is switched off, s.
  DWORD dwUVSessionTime;
  /// Interval between reminders of the wavelength check, minutes; 0 for none.
  DWORD dwWavelengthCheckInterval;
  /// Carried along, not read.
  BYTE Reserved[20];
};
static_assert(sizeof(PhotometerParameters) == 120 && offsetof(PhotometerParameters, UpperFilterWL) == 32 &&
              offsetof(PhotometerParameters, bUV) == 60 && offsetof(PhotometerParameters, dwOperatingMode) == 76 &&
              offsetof(PhotometerParameters, dwWavelengthCheckInterval) == 96);

/// Calibration of the instrument (`Initialize`).
struct CalibrationData {
  /// Expected peak of the built-in holmium oxide filter, nm.
  double dReferencePeak;
  /// Wavelength below which the deuterium lamp serves, nm: written to the log, not used. Each request has its own.
  double LampSwitchingPoint;
  /// Reference range, nm: written to the log, not used.
  LONG RefMaxWL;
  LONG RefMinWL;
  /// Wavelengths of the zero measurement, nm, in the order in which they are measured.
  std::vector<double> ZeroWavelengths;
};

/// One zero value: the detector's answer to the lamp without a sample (`OnReferenceValues`).
struct WavelengthCalibrationEntry {
  DWORD dwReserved;
  /// Wavelength, nm.
  double dWavelength;
  /// Sample channel, light minus dark, counts.
  double dValue;
  /// Reference channel, light minus dark, counts.
  double dValueRef;
  /// Carried along, not set.
  double dReserved[2];
};
static_assert(sizeof(WavelengthCalibrationEntry) == 48 && offsetof(WavelengthCalibrationEntry, dWavelength) == 8);

/// State of the sipper pumps (`GetPumpInfo`).
struct PumpInfo {
  /// 0 pass-through, 1 pump ZQ-410, 2 pump ZQ-420.
  LONG m_iOperatingMode;
  /// A pump exchange waits for its answer.
  BOOL m_bPumpCapture;
  /// The host switched the use of the pump off.
  BOOL m_bPumpDisabled;
  /// The ZQ-410 reported a finished cycle by itself.
  BOOL m_bPumpCycleReported;
  /// The ZQ-410 acknowledged its parameters.
  BOOL m_bPumpParamsAcknowledged;
  DWORD dwReserved1;
  /// A ZQ-420 cycle ended and has not been reported yet.
  BOOL m_bSipperCycleDone;
  DWORD dwReserved2;
  DWORD dwReserved3;
  /// Tick of the last sign of life of the ZQ-410.
  DWORD m_dwPumpContactTick;
  /// Version text of the pump.
  std::string m_strPumpVersion;
  /// First and second data field of the ZQ-420.
  std::string m_strSipperData1;
  std::string m_strSipperData2;
  /// Running time of the ZQ-420, hours:minutes:seconds.
  std::string m_strSipperRunTime;
};

/// One record of the lists of `OnResult`. The fields tell what a measurement puts there; other runs put:
///
///     run               dwTag           dwPosition          dWavelength      dValue, dValueRef   dTurbidity
///     spectrum          request id      the same            the same         the same, never 0   −1
///       its turbidity   1 low, 2 high   of the last point   860              1, 1                reading
///     holmium scan      request id      without correction  0                absorbance, 0       0
///     timed series      cycle, from 0   the same            cycle's minutes  the same            0
///     turbidity         m_dwTag1, 2     0                   860              1, 1                reading
///     wavelength check  0               0                   peak as found    0, 0                0
///
/// A spectrum's channel without light has 1. A coarse spectrum counts its positions on in tens: at each change
/// wavelength of lamp and filters, and at 900 and 1000 nm, positions and wavelengths may begin to lag by up to nine
/// positions more. The absorbance is that of the filter against the open position.
struct MeasureValue {
  /// The request's tag of this wavelength.
  DWORD dwTag;
  /// Position of the monochromator, steps, correction included. Signed in truth.
  DWORD dwPosition;
  /// Wavelength, nm.
  double dWavelength;
  /// Sample channel, light minus dark, counts.
  double dValue;
  /// Reference channel, light minus dark, counts.
  double dValueRef;
  /// Reading of the turbidity channel, counts; 0 when none was asked for.
  double dTurbidity;
  /// Code of the inserted cuvette. Spectrum and timed series: as it was at their beginning. 0 when a measurement's
  /// request did not ask for it, and in all other runs.
  LONG iCuvetteSize;
};
static_assert(sizeof(MeasureValue) == 48 && offsetof(MeasureValue, dWavelength) == 8 &&
              offsetof(MeasureValue, iCuvetteSize) == 40);

/// What `OnResult` hands over.
using MeasureValues = std::vector<MeasureValue>;

/// Verdicts of the system check, handed over after each change (`OnSystemCheckStatus`).
struct SystemCheckStatus {
  DWORD dwReserved;
  /// 1: passed (the deuterium lamp also when there is none, filter 4 also when it is not tested).
  BOOL bHalogenLamp;
  BOOL bUVLamp;
  BOOL bFilter1;
  BOOL bFilter2;
  BOOL bFilter3;
  BOOL bFilter4;
  BOOL bWavelength;
  BOOL bDetectors;
  /// State of each step: 0 not started, 1 running, 2 passed, 3 failed.
  DWORD dwLampState;
  DWORD dwFilterState;
  DWORD dwWavelengthState;
  DWORD dwDetectorState;
};
static_assert(sizeof(SystemCheckStatus) == 52);

}  // namespace photometer
