/// Planning of a spectrum: which wavelengths it delivers, and in which segments the optics are set and the
/// monochromator is moved. Plain functions; nothing here drives the unit.
#pragma once

#include <string>
#include <vector>

#include "calibration/WavelengthModel.h"
#include "photometer/Records.h"
#include "photometer/Requests.h"
#include "photometer/Types.h"

namespace photometer {

/// The table's wavelengths for the request's range, and a little more at both ends where a point would be missing.
/// Empty: there is no table, or its wavelengths do not rise in the range.
std::vector<double> ScanWavelengths(const ScanRequest& request, const WavelengthModel& model);

/// False: the table has no wavelength for the range, since its wavelengths do not rise. Without a table it is the
/// device that is not ready, and not the range that is wrong: true.
bool HasScanWavelengths(const ScanRequest& request, const WavelengthModel& model);

/// Positions of the monochromator (steps, correction included) that a plan depends on.
struct ScanPositions {
  DWORD dwFirst;
  DWORD dwLast;
  /// Where the deuterium segment ends; 0 without the deuterium path.
  DWORD dwSwitching;
  DWORD dwLowerFilter;
  DWORD dwMiddleFilter;
  DWORD dwUpperFilter;
  /// Of 900 nm and 1000 nm: from there on the lamp settles before each segment.
  DWORD dw900;
  DWORD dw1000;
};

/// One scan command and the optics it needs.
struct ScanSegment {
  /// "$s<end position + 1>\r".
  std::string strCommand;
  /// Points that it must deliver.
  DWORD dwExpected;
  /// Before the command is sent, ms.
  DWORD dwDelay;
  /// 1 halogen lamp and path, 2 deuterium lamp and path.
  DWORD dwLamp;
  DWORD dwFilter;
  BOOL bGain;
  BOOL bHalogenHighPower;
};

struct ScanPlan {
  std::vector<ScanSegment> segments;
  /// Where the last segment ends, steps; a coarse scan may go up to ten positions further than asked.
  DWORD dwLast;
};

/// The segments from the first to the last position, in order. No position is in two segments; a coarse segment too
/// short for a point is left out, and its positions count in the next.
ScanPlan PlanScan(const ScanRequest& request, BOOL bUV, const ScanPositions& positions);

/// 0, E_POINTER or E_INVALIDARG.
HRESULT ValidateScanRequest(const ScanRequest* pRequest, const PhotometerParameters& params);

/// Distance of two points, nm.
double ScanStep(const ScanRequest& request);
/// Positions between two points.
DWORD PositionsPerPoint(const ScanRequest& request);

}  // namespace photometer
