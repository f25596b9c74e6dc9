/// The log files and the error list.
///
/// Every line is one call of the layer's `AppendFileW`: open, one write of the whole line with its "\n", close. No
/// handle, buffer or lock stays between lines, so lines of several threads never mix within a line; their order is that
/// in which the writes complete.
///
/// **Nothing reports a failure.** A line whose file cannot be opened or written is lost, silently, and nothing else:
/// without the folder `\NANDFlash\Logging` (see `PrepareLogFiles`) the log lines are lost; without the card `\SDMemory`
/// only the record of the error list is lost, the device log still has the line of the same error.
///
/// **Form of a stamped line**: `17.11.2026 22:49:44 |  text`, local time, German form. Files are Windows-1252: narrow
/// text is written byte for byte, wide text is converted, and a character that has no such byte becomes `?`.
///
/// **Threads**: all functions may be called from any thread. They take the time of the file system: call them without
/// the state lock.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "photometer/Types.h"

namespace photometer {

inline constexpr const char16_t* LogDirectoryPath = u"\\NANDFlash\\Logging";
inline constexpr const char16_t* DeviceLogPath = u"\\NANDFlash\\Logging\\Photometer.log";
inline constexpr const char16_t* GeneralLogPath = u"\\NANDFlash\\Logging\\Logging.log";
inline constexpr const char16_t* RoboterLogPath = u"\\NANDFlash\\Logging\\Roboter.log";
inline constexpr const char16_t* ErrorListPath = u"\\SDMemory\\ErrorCodeList.csv";

/// Bytes from which `PrepareLogFiles` moves a log to its backup.
inline constexpr DWORD LogBackupLimit = 0x100000;
/// Longest text, in bytes, of an error message and of `LogPhotometerF`; what is longer is cut.
inline constexpr std::size_t LogTextLimit = 259;

/// Way of the bytes in the robot log. Any other number stands for text that is neither.
inline constexpr int RoboterReceived = 1;
inline constexpr int RoboterSent = 2;

// ---- lines ----

/// Appends `text` and "\n" to the file, with the time stamp before it when `bTimeStamp` is not 0.
void WriteLogLine(const char16_t* path, std::string_view text, BOOL bTimeStamp);

/// Replaces the string by `17.11.2026 22:49:44 |  ` of the current local time.
void FormatLogTimeStamp(std::string* pLine);

/// A stamped line of the device log.
void LogPhotometer(std::string_view text);

/// The same of wide text. When `bDebugOutput` is not 0 the text also goes to the debug output, unchanged, without a
/// line end.
void LogPhotometerW(std::u16string_view text, BOOL bDebugOutput);

/// The same of a text formatted as by printf, cut to `LogTextLimit` bytes. Reals have a point in every locale.
void LogPhotometerF(BOOL bDebugOutput, const char* format, ...) __attribute__((format(printf, 2, 3)));

/// 80 colons in the device log, without time stamp. Returns 1.
int LogSeparator();

/// A line of the general log. The device itself never writes it.
void LogGeneral(std::string_view text, BOOL bTimeStamp);

// ---- errors ----

/// Writes "[procedure] detail returned number" as a stamped line of the device log, then appends to the error list the
/// record "17.11.2026 22:49;1.16.1;042;[procedure] detail returned 42". The message is cut to `LogTextLimit` bytes in
/// both.
/// @param procedure  name of the procedure that ended ("Measure", "Pump")
/// @param detail  name of the operation that failed ("SetFilter")
/// @param iError  instrument error number
void ReportError(std::string_view procedure, std::string_view detail, int iError);

/// Stores "1.16.1".
void GetLibraryVersionText(std::string* pText);

// ---- maintenance; the device never calls these, it relies on the folder ----

/// Makes the log folder when it is missing, then moves the general, device and robot log to their backups where they
/// have reached `LogBackupLimit`.
void PrepareLogFiles();

/// Moves a file of at least `dwLimit` bytes to the path whose extension (from the last ".") is ".bak", in the place of
/// the backup before; there is one generation. The file is deleted only after it was copied. A path without "." and a
/// missing file are left alone. The size is taken modulo 2^32, as the board's directory search reports it.
void BackupLogFile(const char16_t* path, DWORD dwLimit);

// ---- robot traffic; the device never calls these ----

/// A stamped line of the robot log: "EM : " or " SE: " for `RoboterReceived` or `RoboterSent`, then all bytes of the
/// data, with 0x02 written "<STX>" and 0x03 "<ETX>". All other bytes, zero included, are written as they are.
void LogRoboter(const char* pData, std::size_t nLength, int iDirection);

/// Text that is neither received nor sent.
void LogRoboterW(std::u16string_view text);

/// Marks a start in the robot log: 80 colons without time stamp, "DLL [Roboter] initialize...", "Last restart of
/// device: " and the text. Returns 1.
int InitRoboterLog(std::u16string_view restartText);

}  // namespace photometer
