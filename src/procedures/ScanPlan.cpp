#include "procedures/ScanPlan.h"

#include <algorithm>
#include <limits>

#include "optics/Detectors.h"
#include "optics/UnitValues.h"
#include "procedures/RequestLimits.h"

namespace photometer {

namespace {

/// A lamp has the number of its path.
constexpr DWORD HALOGEN_LAMP = HALOGEN_PATH;
constexpr DWORD DEUTERIUM_LAMP = DEUTERIUM_PATH;
constexpr DWORD COARSE_POSITIONS = 10;
/// Steps that a range is widened by at its end, so that its last wavelength has its point.
constexpr double END_STEPS = 3.0;
/// From 900 nm on, the lamp is given time to settle before each command, ms.
constexpr DWORD INFRARED_DELAY = 500;

/// One row of the table of segments.
struct SegmentRow {
  DWORD dwUpperBoundary;
  DWORD dwPreviousBoundary;
  DWORD dwAutomaticLamp;
  DWORD dwFilter;
  BOOL bHighGainAndPower;
  DWORD dwDelay;
};

std::vector<SegmentRow> SegmentRows(const ScanRequest& request, BOOL bUV, const ScanPositions& p) {
  constexpr DWORD NO_BOUNDARY = std::numeric_limits<DWORD>::max();
  const DWORD dwUVLamp = bUV ? DEUTERIUM_LAMP : HALOGEN_LAMP;
  const DWORD dwUVFilter = bUV ? 0 : 1;
  const DWORD dwLowerFilter = request.m_dwLampMode == DEUTERIUM_LAMP ? 0 : 1;
  const DWORD dwUpperFilter = bUV ? 2 : 3;
  const DWORD dwRedFilter = bUV ? 3 : 4;
  return {
      {p.dwSwitching, 0, dwUVLamp, dwUVFilter, TRUE, 0},
      {p.dwLowerFilter, p.dwSwitching, HALOGEN_LAMP, dwLowerFilter, TRUE, 0},
      {p.dwMiddleFilter, p.dwLowerFilter, HALOGEN_LAMP, 2, FALSE, 0},
      {p.dwUpperFilter, p.dwMiddleFilter, HALOGEN_LAMP, dwUpperFilter, FALSE, 0},
      {p.dw900, p.dwUpperFilter, HALOGEN_LAMP, dwRedFilter, FALSE, 0},
      {p.dw1000, p.dw900, HALOGEN_LAMP, dwRedFilter, FALSE, INFRARED_DELAY},
      {NO_BOUNDARY, p.dw1000, HALOGEN_LAMP, dwRedFilter, FALSE, INFRARED_DELAY},
  };
}

/// Segments with their positions counted, not yet their points.
std::vector<ScanSegment> PlanPositions(const ScanRequest& request, BOOL bUV, const ScanPositions& p) {
  std::vector<ScanSegment> segments;
  DWORD dwNext = p.dwFirst;
  for (const SegmentRow& row : SegmentRows(request, bUV, p)) {
    if (p.dwFirst >= row.dwUpperBoundary || p.dwLast <= row.dwPreviousBoundary) {
      continue;
    }
    const DWORD dwEnd = std::min(p.dwLast, row.dwUpperBoundary);
    if (dwEnd < dwNext) {
      continue;
    }
    segments.push_back({ScanCommand(dwEnd), dwEnd - dwNext + 1, row.dwDelay,
                        request.m_dwLampMode != 0 ? request.m_dwLampMode : row.dwAutomaticLamp, row.dwFilter,
                        row.bHighGainAndPower, row.bHighGainAndPower});
    dwNext = dwEnd + 1;
  }
  return segments;
}

/// From positions to points, ten positions each.
void MakeCoarse(ScanPlan* pPlan) {
  std::vector<ScanSegment> coarse;
  DWORD dwCarried = 0;
  for (std::size_t i = 0; i < pPlan->segments.size(); ++i) {
    ScanSegment segment = pPlan->segments[i];
    segment.dwExpected += dwCarried;
    dwCarried = 0;
    if (i + 1 == pPlan->segments.size()) {
      const DWORD dwExtra = COARSE_POSITIONS - segment.dwExpected % COARSE_POSITIONS;
      segment.dwExpected += dwExtra;
      pPlan->dwLast += dwExtra;
      segment.strCommand = ScanCommand(pPlan->dwLast);
    } else if (segment.dwExpected < COARSE_POSITIONS) {
      dwCarried = segment.dwExpected;
      continue;
    }
    segment.dwExpected /= COARSE_POSITIONS;
    coarse.push_back(segment);
  }
  pPlan->segments = coarse;
}

}  // namespace

std::vector<double> ScanWavelengths(const ScanRequest& request, const WavelengthModel& model) {
  const double dStart = request.m_dStartWavelength;
  const double dEnd = request.m_dEndWavelength;
  const double dStep = ScanStep(request);
  std::vector<double> wavelengths;
  model.GetTableWavelengths(dStart, dEnd, &wavelengths);
  if (wavelengths.empty()) {
    return wavelengths;
  }
  const double dFirst = wavelengths.front() > dStart ? dStart - dStep : dStart;
  const double dLast = wavelengths.back() >= dEnd - dStep ? dEnd + END_STEPS * dStep : dEnd;
  model.GetTableWavelengths(dFirst, dLast, &wavelengths);
  return wavelengths;
}

bool HasScanWavelengths(const ScanRequest& request, const WavelengthModel& model) {
  return !ScanWavelengths(request, model).empty() || !model.HasTable();
}

ScanPlan PlanScan(const ScanRequest& request, BOOL bUV, const ScanPositions& positions) {
  ScanPlan plan{PlanPositions(request, bUV, positions), positions.dwLast};
  if (request.m_bStep1nm && !plan.segments.empty()) {
    MakeCoarse(&plan);
  }
  return plan;
}

HRESULT ValidateScanRequest(const ScanRequest* pRequest, const PhotometerParameters& params) {
  if (pRequest == nullptr) {
    return E_POINTER;
  }
  const bool bLampFits =
      pRequest->m_dwLampMode <= DEUTERIUM_LAMP && (params.bUV || pRequest->m_dwLampMode != DEUTERIUM_LAMP);
  const bool bRangeFits = pRequest->m_dStartWavelength < pRequest->m_dEndWavelength &&
                          IsMeasurable(pRequest->m_dStartWavelength, params) &&
                          IsMeasurable(pRequest->m_dEndWavelength, params);
  const bool bSwitchingFits = IsSwitchingPoint(pRequest->m_dLampSwitchingPoint, params);
  return bLampFits && bRangeFits && bSwitchingFits ? S_OK : E_INVALIDARG;
}

double ScanStep(const ScanRequest& request) { return request.m_bStep1nm ? 1.0 : 0.1; }

DWORD PositionsPerPoint(const ScanRequest& request) { return request.m_bStep1nm ? COARSE_POSITIONS : 1; }

}  // namespace photometer
