/// The board's functions, by their own names, over the current `Board`.
///
/// The library's sources read as they do on the instrument. Differences from there: attributes, stack sizes and other
/// arguments that the library always leaves empty are not there; a thread has a name for reports; narrow text of files
/// and conversions is Windows-1252; format strings are narrow, so that the compiler checks them, and the result is
/// widened.
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Board.h"
#include "platform/Types.h"

namespace photometer::platform {

// ---- threads and waits ----

/// Starts a thread that runs `body`. 0: it could not be created. `pThreadId` may be null.
HANDLE CreateThread(std::function<void()> body, const char* name, DWORD* pThreadId);
DWORD GetCurrentThreadId();

/// 0: it could not be created. `name` may be null.
HANDLE CreateEventW(BOOL bManualReset, BOOL bInitialState, const char16_t* name);

inline constexpr DWORD EVENT_RESET = 2;
inline constexpr DWORD EVENT_SET = 3;
BOOL EventModify(HANDLE hEvent, DWORD dwAction);
BOOL SetEvent(HANDLE hEvent);
BOOL ResetEvent(HANDLE hEvent);

DWORD WaitForSingleObject(HANDLE handle, DWORD dwMilliseconds);
/// Any of the handles; the first signalled one in the array's order.
DWORD WaitForMultipleObjects(DWORD dwCount, const HANDLE* pHandles, DWORD dwMilliseconds);

void Sleep(DWORD dwMilliseconds);
DWORD GetTickCount();

/// A recursive lock. Made and destroyed by the two functions; its address must not change meanwhile.
struct CRITICAL_SECTION {
  std::unique_ptr<CriticalSection> section;
};
/// The name appears in the virtual board's reports.
void InitializeCriticalSection(CRITICAL_SECTION* pSection, const char* name);
void EnterCriticalSection(CRITICAL_SECTION* pSection);
void LeaveCriticalSection(CRITICAL_SECTION* pSection);
void DeleteCriticalSection(CRITICAL_SECTION* pSection);

LONG InterlockedIncrement(std::atomic<LONG>* pValue);
LONG InterlockedDecrement(std::atomic<LONG>* pValue);

// ---- memory ----

/// Zero-filled; null when there is none.
void* LocalAlloc(std::size_t nBytes);
/// Null is allowed.
void LocalFree(void* pMemory);

// ---- serial ports ----

/// Opens a serial port for reading and writing, not shared. `INVALID_HANDLE_VALUE`: failed.
HANDLE CreateFileW(const char16_t* name);
BOOL GetCommState(HANDLE hPort, DCB* pState);
BOOL SetCommState(HANDLE hPort, const DCB* pState);
BOOL SetCommMask(HANDLE hPort, DWORD dwMask);
BOOL SetCommTimeouts(HANDLE hPort, const COMMTIMEOUTS* pTimeouts);
BOOL PurgeComm(HANDLE hPort, DWORD dwFlags);
BOOL ReadFile(HANDLE hPort, void* pBuffer, DWORD dwBytes, DWORD* pBytesRead);
BOOL WriteFile(HANDLE hPort, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten);
/// Closes a thread, an event or a serial port.
BOOL CloseHandle(HANDLE handle);

// ---- pins ----

HANDLE GpioOpenHandle();
BOOL GpioSetupPin(HANDLE hGpio, DWORD dwPort, DWORD dwPin, DWORD dwMode);
BOOL GpioSetOutput(HANDLE hGpio, DWORD dwPort, DWORD dwPin, DWORD dwLevel);
DWORD GpioGetInput(HANDLE hGpio, DWORD dwPort, DWORD dwPin);
BOOL GpioCloseHandle(HANDLE hGpio);

// ---- files ----

inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFFU;
DWORD GetFileAttributesW(const char16_t* path);
/// What a directory search tells of a path; nothing when it finds none.
std::optional<FileStatus> FindFirstFileW(const char16_t* path);
BOOL CreateDirectoryW(const char16_t* path);
/// Overwrites an existing target.
BOOL CopyFileW(const char16_t* from, const char16_t* to);
BOOL DeleteFileW(const char16_t* path);
/// One open, one write, one close; see `Files`.
BOOL AppendFileW(const char16_t* path, std::string_view bytes);
BOOL ReplaceFileW(const char16_t* path, std::string_view bytes);
std::optional<std::string> LoadFileW(const char16_t* path, std::size_t nLimit);
std::u16string GetModuleFileNameW();

// ---- registry ----

inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2;
inline constexpr LONG ERROR_INVALID_HANDLE = 6;
inline constexpr LONG ERROR_WRITE_FAULT = 29;
/// Opens a key under HKEY_LOCAL_MACHINE.
LONG RegOpenKeyExW(const char16_t* path, HANDLE* pKey);
/// Reads a REG_DWORD; a value of another type is not found.
LONG RegQueryValueExW(HANDLE hKey, const char16_t* name, DWORD* pValue);
LONG RegSetValueExW(HANDLE hKey, const char16_t* name, DWORD dwValue);
LONG RegCloseKey(HANDLE hKey);

// ---- time and text ----

/// German (Germany).
inline constexpr DWORD LOCALE_GERMAN = 1031;
void GetLocalTime(SYSTEMTIME* pTime);
/// The locale's short date; for German dd.MM.yyyy. Other locales: empty.
std::u16string GetDateFormatW(DWORD dwLocale, const SYSTEMTIME& time);
/// By a format of HH, mm, ss and quoted text. Other locales: empty.
std::u16string GetTimeFormatW(DWORD dwLocale, const SYSTEMTIME& time, const char16_t* format);
/// Windows-1252 to wide. All 256 bytes have a character.
std::u16string MultiByteToWideChar(std::string_view text);
/// Wide to Windows-1252; what has no such character becomes `?`. A surrogate pair counts as one character.
std::string WideCharToMultiByte(std::u16string_view text);
/// As `WideCharToMultiByte`, at most `nBytes` bytes.
std::string wcstombs(std::u16string_view text, std::size_t nBytes);
/// Wide to UTF-8 and back, for paths and output of the host system.
std::string ToUtf8(std::u16string_view text);
std::u16string FromUtf8(std::string_view text);

/// printf into a string, at most `nLimit` bytes of text.
std::string FormatText(std::size_t nLimit, const char* format, ...) __attribute__((format(printf, 2, 3)));

// ---- debug output ----

void NKDbgPrintfW(const char* format, ...) __attribute__((format(printf, 1, 2)));
/// The text unchanged.
void NKDbgPrintW(std::u16string_view text);

}  // namespace photometer::platform
