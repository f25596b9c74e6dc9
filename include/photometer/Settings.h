/// The store of the instrument's identity and calibration: the file `settings.cfg` beside the running program.
///
/// The device neither reads nor writes it; a host reads the record, fills `PhotometerParameters` and `CalibrationData`
/// from it, and passes those to `Initialize`.
///
/// **File**: Windows-1252 text, a line `Key=value` for each field, in the record's order, named as the field. Lines end
/// with "\n" or "\r\n" (written: "\n"). Reals have a point in every locale. Flags are `true` and `false`, date-times
/// `year;month;day;hour;minute`, lists `wavelength,value;wavelength,value`. When the board cannot tell the program's
/// path there is no file, and reading and writing fail.
///
/// **Whatever a file holds, reading it is safe.** A file above 16 MiB is not read. A line counts to its 511th byte, or
/// to its first zero byte; a longer list therefore loses the entries that do not stand whole before it (a list of 24
/// entries has about 300 bytes). Numbers are read as far as they go, a value without a number is 0. Integers beyond
/// 32 bits, date-time fields beyond 0 to 65535 and reals beyond the largest double become the nearest value that fits;
/// reals are always finite.
///
/// **Threads**: no lock is taken. A record, and the file, belong to one thread at a time. A board must be set before
/// (`SetBoard` or `OpenDefaultBoard` of platform/Board.h, or a successful `CreatePhotometer`).
#pragma once

#include <string>
#include <vector>

#include "photometer/Types.h"

namespace photometer {

/// A point of a list: the file carries one decimal of the wavelength, nm, and three of the value.
struct PointListEntry {
  double dWavelength;
  double dValue;
};
using PointList = std::vector<PointListEntry>;

/// Local calendar time. The store does not check it.
struct SettingsDateTime {
  WORD wYear = 0;
  WORD wMonth = 0;
  WORD wDay = 0;
  WORD wHour = 0;
  WORD wMinute = 0;
};

/// What the file carries; the fields are named as its keys. A new record is empty, see `SetDefaultSettings`.
struct InstrumentSettings {
  /// Filter change wavelengths, nm.
  LONG LowerFilterWL = 0;
  LONG MiddleFilterWL = 0;
  LONG UpperFilterWL = 0;
  /// Reference range, nm.
  LONG RefMinWL = 0;
  LONG RefMaxWL = 0;
  /// Reference peaks, nm, one decimal.
  double Peak1 = 0;
  double Peak2 = 0;
  double Peak3 = 0;
  /// Coefficients, eight decimals.
  double F0 = 0;
  double F1 = 0;
  double F2 = 0;
  double F3 = 0;
  /// Not 0: the instrument has the deuterium lamp. True in the file only as `true`.
  BOOL UV = FALSE;
  /// Texts, without line ends and zero characters: the file carries what stands before the first one.
  std::u16string Manufacturer;
  std::u16string Model;
  /// Serial number.
  std::u16string SN;
  /// Coefficients, eight decimals.
  double FA = 0;
  double FB = 0;
  double FC = 0;
  double FD = 0;
  /// Range of the halogen lamp, nm. Reading stores 1100 for an upper end above 1100 or below 0.
  LONG HalogenMin = 0;
  LONG HalogenMax = 0;
  /// Range of the deuterium lamp, nm.
  LONG UVMin = 0;
  LONG UVMax = 0;
  /// Zero values, and the offsets of COD and nitrate methods, by wavelength.
  PointList Zeros;
  PointList CODOffsets;
  PointList NitrateOffsets;
  /// Times of the last calibrations.
  SettingsDateTime ZeroCalibrationDT;
  SettingsDateTime ZeroOffsetCalibDT;
  SettingsDateTime TurbHighCalibrationDT;
  SettingsDateTime TurbLowCalibrationDT;
  /// Corrections of the lamps: offsets, and factors with two decimals.
  LONG HalLampOffset = 0;
  LONG UVLampOffset = 0;
  double HalLampFactor = 0;
  double UVLampFactor = 0;
  PointList StartPoints;
  PointList StartPointsRef;
  LONG VolumeMultiplier = 0;
  LONG WavelengthTest = 0;
  /// Wait time of the flash database.
  LONG DbFlashWaitTime = 0;
  /// Turbidity calibration: high, low and reference points.
  PointList TurbCalHigh;
  PointList TurbCalLow;
  PointList TurbCalRef;
  SettingsDateTime TurbHighCalibrationDTAdjusted;
  SettingsDateTime TurbLowCalibrationDTAdjusted;
};

/// Sets every field to its delivery value: `Zeros`, `CODOffsets` and `NitrateOffsets` have 24 wavelengths with value 0,
/// the other lists are empty, the date-times are 1 January 2000, 12:00.
/// @return 0, or `E_FAIL` for a null record
HRESULT SetDefaultSettings(InstrumentSettings* pSettings);

/// Reads the file into the record. Only fields whose keys it meets change; unknown keys are ignored. A damaged
/// date-time changes the fields before the damage.
///
/// `Zeros`, `CODOffsets` and `NitrateOffsets` are replaced by a list of as many entries as the record has; from any
/// other list the values of equal wavelengths are taken over, and the record keeps its wavelengths. So the record
/// should hold the wavelengths wanted, for instance those of `SetDefaultSettings`.
/// @param pSettings  the record; its values remain, where the file has none, also when the result is `E_FAIL`
/// @param pbZerosChanged  may be null; 1 when `Zeros` of the file had another number of entries than the record, else 0
/// @return 0 when the file has as many lines of known keys as there are keys, `WavelengthTest` apart (a key that is
/// there twice makes up for a missing one); `E_FAIL` otherwise, when the file cannot be read, and for a null record:
/// the debug output then has a message
HRESULT ReadSettings(InstrumentSettings* pSettings, BOOL* pbZerosChanged = nullptr);

/// Writes the file whole: whatever happens meanwhile, a power cut too, the old or the new file stands. What was written
/// reads back to the same bytes. For that no more is written than reading takes: 511 bytes of a line, of a list whole
/// entries; not a number is written 0, infinity as the largest double, a character without a Windows-1252 byte `?`. A
/// point of a list has at most 31 characters; a larger number is no wavelength and loses its end.
/// @return 0, or `E_FAIL` for a null record or when the file cannot be written; the old one then stands, or, when only
/// its folder could not be brought to the medium, the new one
HRESULT WriteSettings(const InstrumentSettings* pSettings);

}  // namespace photometer
