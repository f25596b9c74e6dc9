/// The commands of the optical unit that return measured data: one reading, a scan, a turbidity reading.
///
/// Each names itself as the last command, owns the line for its exchange and judges the answer by its length. Results
/// are 0 or the command's base plus a cause (see OpticalLink.h); outputs are written on success only. The caller is the
/// only procedure that drives the unit.
#pragma once

#include <string>
#include <vector>

#include "optics/DetectorData.h"
#include "optics/OpticalLink.h"
#include "state/DeviceState.h"

namespace photometer {

/// The command that takes a reading at each position from the present one to `dwLastPosition`, and leaves the
/// monochromator behind it.
std::string ScanCommand(DWORD dwLastPosition);

class Detectors {
 public:
  Detectors(DeviceState& state, OpticalLink& link) : m_State(state), m_Link(link) {}

  /// Both channels, averaged over the unit's three readings, counts. Null pointers are not stored. 0 or 132, 133, 135.
  DWORD GetADValue(double* pSample, double* pReference);
  /// One reading at each position from the present one to `dwLastPosition`; afterwards the unit stands at
  /// `dwLastPosition` + 1. The arrays, where not null, receive `dwCount` values. 0 or 152 to 155.
  DWORD Scan(DWORD dwLastPosition, double* pSample, double* pReference, DWORD dwCount);
  /// The turbidity channel. Null: not stored. 0 or 162, 163, 165.
  DWORD GetTurbidity(double* pValue);

 private:
  /// Sends a command whose answer has a fixed length. 0, or a cause.
  DWORD ReadAnswer(const char* strCommand, std::size_t nLength, std::string& answer);
  /// Sends the scan command and collects its points and, counted, the three bytes behind them. 0, or a cause.
  DWORD ReadScan(const std::string& strCommand, DWORD dwCount, std::vector<Reading>* pPoints);

  DeviceState& m_State;
  OpticalLink& m_Link;
};

}  // namespace photometer
