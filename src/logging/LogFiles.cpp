#include "logging/LogFiles.h"

#include <algorithm>
#include <cstdarg>

#include "platform/FormattedText.h"
#include "platform/Platform.h"

namespace photometer {
namespace {

constexpr int VersionMajor = 1;
constexpr int VersionMinor = 16;
constexpr int VersionBuild = 1;
constexpr const char* VersionSuffix = "";

/// Bytes that the date and the time may each have.
constexpr std::size_t StampPartLimit = 127;
constexpr std::size_t SeparatorLength = 80;
constexpr const char16_t* TimeFormat = u"HH':'mm':'ss";
constexpr const char16_t* BackupExtension = u".bak";

/// The length as the `%.*s` of the formatter wants it; longer text is cut there in any case.
int PrintLength(std::string_view text) { return static_cast<int>(std::min(text.size(), LogTextLimit)); }

std::string ErrorMessage(std::string_view procedure, std::string_view detail, int iError) {
  return platform::FormatText(LogTextLimit, "[%.*s] %.*s returned %d", PrintLength(procedure), procedure.data(),
                              PrintLength(detail), detail.data(), iError);
}

std::string ErrorListDate() {
  platform::SYSTEMTIME time{};
  platform::GetLocalTime(&time);
  return platform::FormatText(LogTextLimit, "%02d.%02d.%4d %02d:%02d", time.wDay, time.wMonth, time.wYear, time.wHour,
                              time.wMinute);
}

void WriteSeparator(const char16_t* path) { WriteLogLine(path, std::string(SeparatorLength, ':'), FALSE); }

/// Low 32 bits of the file's size; 0 when there is no file.
DWORD FileSize(const char16_t* path) {
  const auto status = platform::FindFirstFileW(path);
  return status ? static_cast<DWORD>(status->nBytes) : 0;
}

bool IsDirectory(const char16_t* path) {
  const DWORD dwAttributes = platform::GetFileAttributesW(path);
  return dwAttributes != platform::INVALID_FILE_ATTRIBUTES && (dwAttributes & platform::FILE_ATTRIBUTE_DIRECTORY) != 0;
}

std::string_view DirectionMark(int iDirection) {
  if (iDirection == RoboterReceived) {
    return "EM : ";
  }
  if (iDirection == RoboterSent) {
    return " SE: ";
  }
  return "";
}

void AppendFrameText(std::string_view data, std::string* pLine) {
  for (const char byte : data) {
    if (byte == '\x02') {
      *pLine += "<STX>";
    } else if (byte == '\x03') {
      *pLine += "<ETX>";
    } else {
      *pLine += byte;
    }
  }
}

}  // namespace

void WriteLogLine(const char16_t* path, std::string_view text, BOOL bTimeStamp) {
  std::string line;
  if (bTimeStamp != FALSE) {
    FormatLogTimeStamp(&line);
  }
  line += text;
  line += '\n';
  platform::AppendFileW(path, line);
}

void FormatLogTimeStamp(std::string* pLine) {
  platform::SYSTEMTIME time{};
  platform::GetLocalTime(&time);
  const std::u16string date = platform::GetDateFormatW(platform::LOCALE_GERMAN, time);
  const std::u16string clock = platform::GetTimeFormatW(platform::LOCALE_GERMAN, time, TimeFormat);
  *pLine = platform::wcstombs(date, StampPartLimit) + ' ' + platform::wcstombs(clock, StampPartLimit) + " |  ";
}

void LogPhotometer(std::string_view text) { WriteLogLine(DeviceLogPath, text, TRUE); }

void LogPhotometerW(std::u16string_view text, BOOL bDebugOutput) {
  LogPhotometer(platform::wcstombs(text, text.size()));
  if (bDebugOutput != FALSE) {
    platform::NKDbgPrintW(text);
  }
}

void LogPhotometerF(BOOL bDebugOutput, const char* format, ...) {
  std::va_list arguments;
  va_start(arguments, format);
  const std::string text = platform::FormatTextList(LogTextLimit, format, arguments);
  va_end(arguments);
  LogPhotometerW(platform::MultiByteToWideChar(text), bDebugOutput);
}

int LogSeparator() {
  WriteSeparator(DeviceLogPath);
  return 1;
}

void LogGeneral(std::string_view text, BOOL bTimeStamp) { WriteLogLine(GeneralLogPath, text, bTimeStamp); }

void ReportError(std::string_view procedure, std::string_view detail, int iError) {
  const std::string message = ErrorMessage(procedure, detail, iError);
  LogPhotometer(message);

  std::string version;
  GetLibraryVersionText(&version);
  const std::string number = platform::FormatText(LogTextLimit, "%03d", iError);
  WriteLogLine(ErrorListPath, ErrorListDate() + ';' + version + ';' + number + ';' + message, FALSE);
}

void GetLibraryVersionText(std::string* pText) {
  *pText = platform::FormatText(LogTextLimit, "%d.%d.%d%s", VersionMajor, VersionMinor, VersionBuild, VersionSuffix);
}

void PrepareLogFiles() {
  if (!IsDirectory(LogDirectoryPath)) {
    platform::CreateDirectoryW(LogDirectoryPath);
  }
  for (const char16_t* path : {GeneralLogPath, DeviceLogPath, RoboterLogPath}) {
    BackupLogFile(path, LogBackupLimit);
  }
}

void BackupLogFile(const char16_t* path, DWORD dwLimit) {
  if (FileSize(path) < dwLimit) {
    return;
  }

  const std::u16string_view log = path;
  const std::size_t nDot = log.rfind(u'.');
  if (nDot == std::u16string_view::npos) {
    return;
  }

  const std::u16string backup = std::u16string(log.substr(0, nDot)) + BackupExtension;
  if (backup == log) {
    return;
  }
  if (!platform::CopyFileW(path, backup.c_str())) {
    return;
  }
  platform::DeleteFileW(path);
}

void LogRoboter(const char* pData, std::size_t nLength, int iDirection) {
  std::string line;
  FormatLogTimeStamp(&line);
  line += DirectionMark(iDirection);
  AppendFrameText({pData, nLength}, &line);
  WriteLogLine(RoboterLogPath, line, FALSE);
}

void LogRoboterW(std::u16string_view text) {
  const std::string narrow = platform::wcstombs(text, text.size());
  LogRoboter(narrow.data(), narrow.size(), 0);
}

int InitRoboterLog(std::u16string_view restartText) {
  WriteSeparator(RoboterLogPath);
  LogRoboterW(u"DLL [Roboter] initialize...");
  LogRoboterW(u"Last restart of device: " + std::u16string(restartText));
  return 1;
}

}  // namespace photometer
