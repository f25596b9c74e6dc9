/// The board's functions, by their own names, over the current `Board`.
///
/// The library's sources read as they do on the instrument. Differences from there: attributes, stack sizes and other
/// arguments that the library always leaves empty are not there; a thread has a name for reports; narrow text of files
/// and conversions is Windows-1252; format strings are narrow, so that the compiler checks them, and the result is
/// widened. Functions that can fail take their call site as a last argument that fills itself in (see CallSite.h).
#pragma once

#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "platform/Board.h"
#include "platform/CallSite.h"
#include "platform/Types.h"

namespace photometer::platform {

// ---- threads and waits ----

/// Starts a thread that runs `body`. 0: it could not be created. `pThreadId` may be null.
HANDLE CreateThread(std::function<void()> body, const char* name, DWORD* pThreadId, CallSite site = CallSite::Here());
DWORD GetCurrentThreadId();

/// 0: it could not be created. `name` may be null.
HANDLE CreateEventW(BOOL bManualReset, BOOL bInitialState, const char16_t* name, CallSite site = CallSite::Here());

inline constexpr DWORD EVENT_RESET = 2;
inline constexpr DWORD EVENT_SET = 3;
BOOL EventModify(HANDLE hEvent, DWORD dwAction, CallSite site = CallSite::Here());
BOOL SetEvent(HANDLE hEvent, CallSite site = CallSite::Here());
BOOL ResetEvent(HANDLE hEvent, CallSite site = CallSite::Here());

DWORD WaitForSingleObject(HANDLE handle, DWORD dwMilliseconds, CallSite site = CallSite::Here());
/// Any of the handles; the first signalled one in the array's order.
DWORD WaitForMultipleObjects(DWORD dwCount, const HANDLE* pHandles, DWORD dwMilliseconds,
                             CallSite site = CallSite::Here());

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
void* LocalAlloc(std::size_t nBytes, CallSite site = CallSite::Here());
/// Null is allowed.
void LocalFree(void* pMemory);

// ---- serial ports ----

/// Opens a serial port for reading and writing, not shared. `INVALID_HANDLE_VALUE`: failed.
HANDLE CreateFileW(const char16_t* name, CallSite site = CallSite::Here());
BOOL GetCommState(HANDLE hPort, DCB* pState, CallSite site = CallSite::Here());
BOOL SetCommState(HANDLE hPort, const DCB* pState, CallSite site = CallSite::Here());
BOOL SetCommMask(HANDLE hPort, DWORD dwMask, CallSite site = CallSite::Here());
BOOL SetCommTimeouts(HANDLE hPort, const COMMTIMEOUTS* pTimeouts, CallSite site = CallSite::Here());
BOOL PurgeComm(HANDLE hPort, DWORD dwFlags, CallSite site = CallSite::Here());
BOOL ReadFile(HANDLE hPort, void* pBuffer, DWORD dwBytes, DWORD* pBytesRead, CallSite site = CallSite::Here());
BOOL WriteFile(HANDLE hPort, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten,
               CallSite site = CallSite::Here());
/// Closes a thread, an event or a serial port.
BOOL CloseHandle(HANDLE handle);

// ---- pins ----

HANDLE GpioOpenHandle(CallSite site = CallSite::Here());
BOOL GpioSetupPin(HANDLE hGpio, DWORD dwPort, DWORD dwPin, DWORD dwMode, CallSite site = CallSite::Here());
BOOL GpioSetOutput(HANDLE hGpio, DWORD dwPort, DWORD dwPin, DWORD dwLevel, CallSite site = CallSite::Here());
DWORD GpioGetInput(HANDLE hGpio, DWORD dwPort, DWORD dwPin, CallSite site = CallSite::Here());
BOOL GpioCloseHandle(HANDLE hGpio);

// ---- files ----

inline constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
inline constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
inline constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFFU;
DWORD GetFileAttributesW(const char16_t* path, CallSite site = CallSite::Here());
/// What a directory search tells of a path; nothing when it finds none.
std::optional<FileStatus> FindFirstFileW(const char16_t* path, CallSite site = CallSite::Here());
BOOL CreateDirectoryW(const char16_t* path, CallSite site = CallSite::Here());
/// Overwrites an existing target.
BOOL CopyFileW(const char16_t* from, const char16_t* to, CallSite site = CallSite::Here());
BOOL DeleteFileW(const char16_t* path, CallSite site = CallSite::Here());
/// One open, one write, one close; see `Files`.
BOOL AppendFileW(const char16_t* path, std::string_view bytes, CallSite site = CallSite::Here());
BOOL ReplaceFileW(const char16_t* path, std::string_view bytes, CallSite site = CallSite::Here());
std::optional<std::string> LoadFileW(const char16_t* path, std::size_t nLimit, CallSite site = CallSite::Here());
std::u16string GetModuleFileNameW(CallSite site = CallSite::Here());

// ---- registry ----

inline constexpr LONG ERROR_SUCCESS = 0;
inline constexpr LONG ERROR_FILE_NOT_FOUND = 2;
inline constexpr LONG ERROR_INVALID_HANDLE = 6;
inline constexpr LONG ERROR_WRITE_FAULT = 29;
/// Opens a key under HKEY_LOCAL_MACHINE.
LONG RegOpenKeyExW(const char16_t* path, HANDLE* pKey, CallSite site = CallSite::Here());
/// Reads a REG_DWORD; a value of another type is not found.
LONG RegQueryValueExW(HANDLE hKey, const char16_t* name, DWORD* pValue, CallSite site = CallSite::Here());
LONG RegSetValueExW(HANDLE hKey, const char16_t* name, DWORD dwValue, CallSite site = CallSite::Here());
LONG RegCloseKey(HANDLE hKey);

// ---- time and text ----

/// German (Germany).
inline constexpr DWORD LOCALE_GERMAN = 1031;
void GetLocalTime(SYSTEMTIME* pTime);
/// The locale's short date; for German dd.MM.yyyy. Other locales: empty.
std::u16string GetDateFormatW(DWORD dwLocale, const SYSTEMTIME& time, CallSite site = CallSite::Here());
/// By a format of HH, mm, ss and quoted text. Other locales: empty.
std::u16string GetTimeFormatW(DWORD dwLocale, const SYSTEMTIME& time, const char16_t* format,
                              CallSite site = CallSite::Here());
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
