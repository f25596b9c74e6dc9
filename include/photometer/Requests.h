/// The requests of the start operations. The first field of each is the host's own number of the request, passed back
/// in the callbacks of that run. Wavelengths are nanometres; a value that is not a finite number is refused. "The
/// instrument's range" is `HalogenMin`, or with `bUV` `UVMin`, to `HalogenMax`.
#pragma once

#include <vector>

#include "photometer/Types.h"

namespace photometer {

/// Readings at a list of wavelengths (`StartMeasure`).
struct MeasureRequest {
  DWORD m_dwRequestId;
  /// Below this wavelength the deuterium lamp serves: `HalogenMin` to `UVMax`.
  double m_dLampSwitchingPoint;
  /// Readings at each wavelength, at least 1.
  DWORD m_dwReadings;
  /// Not 0: take a turbidity reading with each reading.
  BOOL m_bTurbidity;
  /// Not 0: stamp the cuvette's size into each record.
  BOOL m_bCuvetteSize;
  /// Program number for `QueryPumpProgram`; 0 for none.
  DWORD m_dwPumpProgram;
  /// Not 0: the ZQ-420 pumps with the stored times, and the host is not asked.
  BOOL m_bPumpDefaults;
  /// Measured in this order; each within the instrument's range.
  std::vector<double> m_Wavelengths;
  /// One tag for each wavelength.
  std::vector<DWORD> m_Tags;
};

/// A spectrum (`StartScan`).
struct ScanRequest {
  DWORD m_dwRequestId;
  /// First and last wavelength, within the instrument's range; the last is greater.
  double m_dStartWavelength;
  double m_dEndWavelength;
  /// Boundary between the deuterium and the halogen segments: `HalogenMin` to `UVMax`.
  double m_dLampSwitchingPoint;
  /// 0 automatic, 1 halogen lamp, 2 (only with `bUV`) deuterium lamp for all segments.
  DWORD m_dwLampMode;
  /// Not 0: one point per ten positions (1 nm); 0: one point per position (0.1 nm).
  BOOL m_bStep1nm;
  /// Not 0: two turbidity readings follow the last segment.
  BOOL m_bTurbidity;
};

/// A timed series at one wavelength (`StartKinetics`).
struct KineticsRequest {
  DWORD m_dwRequestId;
  /// The run ends after the first cycle that starts more than this long after the first, minutes.
  DWORD m_dwDuration;
  /// From the start of one cycle to the start of the next, s; 0: back to back. Longer ones are cut to 24.8 days.
  DWORD m_dwInterval;
  /// Within the instrument's range.
  double m_dWavelength;
  /// Below this wavelength the deuterium lamp serves.
  double m_dLampSwitchingPoint;
};

/// Two turbidity readings (`StartTurbidityMeasurement`).
struct TurbidityRequest {
  DWORD m_dwRequestId;
  /// Tags of the reading with low power and of the one with high power.
  DWORD m_dwTag1;
  DWORD m_dwTag2;
};
static_assert(sizeof(TurbidityRequest) == 12);

/// Wavelength accuracy at the peaks of the holmium oxide filter (`StartWavelengthCheck`).
struct WavelengthCheckRequest {
  DWORD m_dwRequestId;
  /// Nominal peaks, each within the instrument's range.
  std::vector<double> m_Peaks;
};

/// The holmium oxide filter's spectrum over a range of positions (`StartHolmiumOxideScan`).
struct HolmiumOxideScanRequest {
  DWORD m_dwRequestId;
  /// First and last position, −1000 to 15000; the last is greater.
  LONG m_iFirstPosition;
  LONG m_iLastPosition;
};
static_assert(sizeof(HolmiumOxideScanRequest) == 12);

/// Lamps, wavelength, filters and detector noise (`StartSystemCheck`).
struct SystemCheckRequest {
  DWORD m_dwRequestId;
  /// Peak of the holmium oxide filter that the wavelength step looks for.
  double m_dReferencePeak;
  double dReserved;
};
static_assert(sizeof(SystemCheckRequest) == 24);

}  // namespace photometer
