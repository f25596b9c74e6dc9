#include "calibration/WavelengthModel.h"

#include <cmath>
#include <limits>

namespace photometer {

namespace {

/// The polynomial gives wavelengths in 0.000001 nm.
constexpr double POLYNOMIAL_UNITS = 1000000.0;
constexpr double ROUNDING_STEPS = 100.0;

}  // namespace

double WavelengthOfPosition(const PhotometerParameters& params, DWORD dwPosition) {
  const double p = dwPosition;
  double w = params.dA * p * p * p + params.dB * p * p + params.dC * p + params.dD;
  w = w / POLYNOMIAL_UNITS;
  const double dSteps = w * ROUNDING_STEPS + 0.5;
  const double dLimit = std::numeric_limits<LONG>::max();
  if (!(std::fabs(dSteps) < dLimit)) {
    return std::numeric_limits<double>::quiet_NaN();
  }
  return static_cast<LONG>(dSteps) / ROUNDING_STEPS;
}

BOOL WavelengthModel::BuildTable() {
  const auto state = m_State.Lock();
  FreeTable();
  m_dwPositionsCount = POSITIONS_COUNT;
  m_pdWavelengths = static_cast<double*>(LocalAlloc(POSITIONS_COUNT * sizeof(double)));
  m_pdwPositions = static_cast<DWORD*>(LocalAlloc(POSITIONS_COUNT * sizeof(DWORD)));
  bool bUsable = m_pdWavelengths != nullptr && m_pdwPositions != nullptr;
  for (DWORD i = 0; bUsable && i < POSITIONS_COUNT; ++i) {
    m_pdwPositions[i] = FIRST_POSITION + i;
    m_pdWavelengths[i] = WavelengthOfPosition(state->m_Params, FIRST_POSITION + i);
    bUsable = std::isfinite(m_pdWavelengths[i]);
  }
  if (!bUsable) {
    FreeTable();
  }
  return bUsable ? TRUE : FALSE;
}

void WavelengthModel::FreeTable() {
  const auto state = m_State.Lock();
  LocalFree(m_pdWavelengths);
  LocalFree(m_pdwPositions);
  m_pdWavelengths = nullptr;
  m_pdwPositions = nullptr;
}

bool WavelengthModel::HasTable() const {
  const auto state = m_State.Lock();
  return m_pdWavelengths != nullptr;
}

std::size_t WavelengthModel::NearestEntry(double dWavelength) const {
  double dBest = std::numeric_limits<double>::max();
  std::size_t nIndex = 0;
  for (std::size_t i = 0; i < m_dwPositionsCount; ++i) {
    const double d = std::fabs(m_pdWavelengths[i] - dWavelength);
    if (d < dBest) {
      dBest = d;
      nIndex = i;
    }
  }
  return nIndex;
}

DWORD WavelengthModel::GetTablePosition(double dWavelength) const {
  const auto state = m_State.Lock();
  return m_pdWavelengths == nullptr ? 0 : m_pdwPositions[NearestEntry(dWavelength)];
}

LONG WavelengthModel::GetMonochromatorPosition(double dWavelength) const {
  const auto state = m_State.Lock();
  return static_cast<LONG>(GetTablePosition(dWavelength)) + m_iPositionOffset;
}

void WavelengthModel::GetTableWavelengths(double dFirst, double dLast, std::vector<double>* pOut) const {
  if (pOut == nullptr) {
    return;
  }
  pOut->clear();
  const auto state = m_State.Lock();
  if (m_pdWavelengths == nullptr) {
    return;
  }
  const std::size_t nFirst = NearestEntry(dFirst);
  const std::size_t nLast = NearestEntry(dLast);
  if (nFirst <= nLast) {
    pOut->assign(m_pdWavelengths + nFirst, m_pdWavelengths + nLast + 1);
  }
}

DWORD WavelengthModel::GetFilterPosition(double dWavelength) const {
  const auto state = m_State.Lock();
  const PhotometerParameters& params = state->m_Params;
  DWORD dwPosition = params.bUV ? 3 : 4;
  if (dWavelength < params.UpperFilterWL) {
    dwPosition = params.bUV ? 2 : 3;
  }
  if (!params.bUV && dWavelength < params.MiddleFilterWL) {
    dwPosition = 2;
  }
  if (dWavelength < params.LowerFilterWL) {
    dwPosition = 1;
  }
  if (dWavelength < state->m_MeasureRequest.m_dLampSwitchingPoint) {
    dwPosition = 0;
  }
  return dwPosition;
}

LONG WavelengthModel::GetPositionOffset() const {
  const auto state = m_State.Lock();
  return m_iPositionOffset;
}

void WavelengthModel::SetPositionOffset(LONG iOffset) {
  const auto state = m_State.Lock();
  m_iPositionOffset = iOffset;
}

}  // namespace photometer
