/// The wavelength model: which position of the monochromator has which wavelength, the position correction that the
/// wavelength tests find, and the filter for a wavelength.
///
/// All operations take the state lock, which is recursive: callers that need several together may hold it. Without a
/// table (before `BuildTable`, after `FreeTable`) lookups give position 0 and empty lists.
#pragma once

#include <vector>

#include "state/DeviceState.h"

namespace photometer {

/// Entries of the table, and the position of the first one, steps.
inline constexpr DWORD POSITIONS_COUNT = 12500;
inline constexpr DWORD FIRST_POSITION = 2000;

/// Wavelength of a position, nm, to 0.01 nm: half a step is added and the rest cut off towards zero, so that a negative
/// one is not rounded to the nearest. Not finite, or not within 32 bits of 0.01 nm: not a number.
double WavelengthOfPosition(const PhotometerParameters& params, DWORD dwPosition);

class WavelengthModel {
 public:
  explicit WavelengthModel(DeviceState& state) : m_State(state) {}
  ~WavelengthModel() { FreeTable(); }
  WavelengthModel(const WavelengthModel&) = delete;
  WavelengthModel& operator=(const WavelengthModel&) = delete;

  /// Allocates and fills the table from the polynomial of the parameters. False: no memory, or the polynomial gives
  /// values that are no wavelengths; there is no table then.
  BOOL BuildTable();
  void FreeTable();
  [[nodiscard]] bool HasTable() const;

  /// Position of the entry nearest to a wavelength (nm), without the correction. The first of equally near ones.
  DWORD GetTablePosition(double dWavelength) const;
  /// The same with the correction: where the monochromator has to be moved.
  LONG GetMonochromatorPosition(double dWavelength) const;
  /// The table's wavelengths from the entry nearest to `dFirst` to that nearest to `dLast`; none when it lies before.
  void GetTableWavelengths(double dFirst, double dLast, std::vector<double>* pOut) const;
  /// Position of the filter wheel for a wavelength, 0 to 4.
  DWORD GetFilterPosition(double dWavelength) const;

  /// The correction, steps. It outlives `Shutdown`.
  LONG GetPositionOffset() const;
  void SetPositionOffset(LONG iOffset);

 private:
  std::size_t NearestEntry(double dWavelength) const;

  DeviceState& m_State;
  // Guarded by the state lock.
  double* m_pdWavelengths = nullptr;
  DWORD* m_pdwPositions = nullptr;
  DWORD m_dwPositionsCount = 0;
  LONG m_iPositionOffset = 0;
};

}  // namespace photometer
