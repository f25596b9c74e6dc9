/// The seam between the operating-system layer and what it runs on.
///
/// A `Board` is six services. The layer's functions (Platform.h) turn the board's function names into calls of the
/// current board's services; the library calls nothing else. There are two boards: `PosixBoard` (real ports) and
/// `VirtualBoard` (simulated ports in virtual time). Forwarding.h has services that pass everything on, to derive
/// faults from.
///
/// **Threads.** All services may be called from all threads. **Errors** are results; nothing throws.
/// **Text**: paths and names are wide text as on the instrument (`\NANDFlash\...`); file contents are bytes.
/// **Handles** come from `NewHandle` and are never used twice in a process.
#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "platform/Types.h"

namespace photometer::platform {

/// The service that a handle belongs to; it is part of the handle's number.
enum class HandleKind : HANDLE { Kernel = 0, SerialPort = 1, Pins = 2, RegistryKey = 3 };

/// A fresh handle of a kind. Counts up, for all boards of the process together.
HANDLE NewHandle(HandleKind kind);
/// The kind that the handle's number tells.
HandleKind KindOf(HANDLE handle);

/// A recursive lock. Destroyed only while nobody owns it.
class CriticalSection {
 public:
  virtual ~CriticalSection() = default;
  virtual void Enter() = 0;
  virtual void Leave() = 0;
};

/// What a new thread runs, and its name in reports.
struct ThreadStart {
  std::function<void()> body;
  std::string name;
};

enum class EventAction { Set, Reset };

/// Threads, events, waits, locks, time, memory.
class Kernel {
 public:
  virtual ~Kernel() = default;

  /// Starts a thread. The handle is signalled when it has ended; closing it does not end the thread. 0: failed.
  virtual HANDLE CreateThread(ThreadStart start, DWORD* pThreadId) = 0;
  virtual DWORD GetCurrentThreadId() = 0;
  /// A new event, or, with a name that exists, another handle of that event. 0: failed.
  virtual HANDLE CreateEvent(bool bManualReset, bool bInitialState, const std::u16string& name) = 0;
  virtual bool ModifyEvent(HANDLE handle, EventAction action) = 0;
  /// Waits for any of the handles. Index, `WAIT_TIMEOUT`, or `WAIT_FAILED` when one is not valid (also when it is
  /// closed during the wait).
  virtual DWORD WaitForMultipleObjects(std::span<const HANDLE> handles, DWORD dwMilliseconds) = 0;
  virtual bool CloseHandle(HANDLE handle) = 0;
  /// The name appears in reports.
  virtual std::unique_ptr<CriticalSection> CreateCriticalSection(const char* name) = 0;
  virtual void Sleep(DWORD dwMilliseconds) = 0;
  /// Milliseconds of a counter that wraps.
  virtual DWORD GetTickCount() = 0;
  /// Microseconds since the board was made, for traces; never goes back.
  virtual std::uint64_t GetMicroseconds() = 0;
  virtual SYSTEMTIME GetLocalTime() = 0;
  /// Zero-filled memory, or null.
  virtual void* AllocateMemory(std::size_t nBytes) = 0;
  virtual void FreeMemory(void* pMemory) = 0;
};

/// Serial ports, named as on the instrument ("COM2:"). A port is open once at a time.
class SerialPorts {
 public:
  virtual ~SerialPorts() = default;

  /// `INVALID_HANDLE_VALUE`: no such port, in use, or not permitted.
  virtual HANDLE Open(const std::u16string& name) = 0;
  virtual bool GetState(HANDLE handle, DCB* pState) = 0;
  virtual bool SetState(HANDLE handle, const DCB& state) = 0;
  virtual bool SetMask(HANDLE handle, DWORD dwMask) = 0;
  virtual bool SetTimeouts(HANDLE handle, const COMMTIMEOUTS& timeouts) = 0;
  /// `PURGE_TXCLEAR`, `PURGE_RXCLEAR`, both, or 0: nothing.
  virtual bool Purge(HANDLE handle, DWORD dwFlags) = 0;
  /// Blocks as the time-outs say. True with 0 bytes: nothing came. False: the port is gone, or closed meanwhile.
  virtual bool Read(HANDLE handle, void* pBuffer, DWORD dwBytes, DWORD* pBytesRead) = 0;
  virtual bool Write(HANDLE handle, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten) = 0;
  /// Ends reads that wait.
  virtual bool Close(HANDLE handle) = 0;
};

/// The board's digital inputs and outputs.
class Pins {
 public:
  virtual ~Pins() = default;

  /// `INVALID_HANDLE_VALUE`: there are none.
  virtual HANDLE OpenHandle() = 0;
  virtual bool SetupPin(HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwMode) = 0;
  virtual bool SetOutput(HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwLevel) = 0;
  /// 0 or 1; anything else: the pin cannot be read.
  virtual DWORD GetInput(HANDLE handle, DWORD dwPort, DWORD dwPin) = 0;
  virtual bool CloseHandle(HANDLE handle) = 0;
};

struct FileStatus {
  bool bDirectory;
  std::uint64_t nBytes;
};

/// Files, by the instrument's paths. Nothing outside the board's root folder can be named.
class Files {
 public:
  virtual ~Files() = default;

  /// Opens for appending (making the file if need be), writes all bytes with one call, closes.
  virtual bool Append(const std::u16string& path, std::string_view bytes) = 0;
  /// Puts a file of these bytes in the place of the old one. Whatever happens, the old or the new content stands.
  virtual bool Replace(const std::u16string& path, std::string_view bytes) = 0;
  /// The file's content; nothing when it cannot be read or is longer than the limit.
  virtual std::optional<std::string> Read(const std::u16string& path, std::size_t nLimit) = 0;
  virtual std::optional<FileStatus> GetStatus(const std::u16string& path) = 0;
  virtual bool CreateDirectory(const std::u16string& path) = 0;
  /// Overwrites an existing target.
  virtual bool Copy(const std::u16string& from, const std::u16string& to) = 0;
  virtual bool Delete(const std::u16string& path) = 0;
  /// Path of the running program.
  virtual std::u16string GetModuleFileName() = 0;
};

/// The board's registry. Only 32-bit values are kept.
class Registry {
 public:
  virtual ~Registry() = default;

  /// Opens an existing key ("\Veltranometrik"); 0: there is none.
  virtual HANDLE OpenKey(const std::u16string& path) = 0;
  virtual std::optional<DWORD> QueryValue(HANDLE key, const std::u16string& name) = 0;
  virtual bool SetValue(HANDLE key, const std::u16string& name, DWORD dwValue) = 0;
  virtual bool CloseKey(HANDLE key) = 0;
};

/// The system's debug output.
class DebugOutput {
 public:
  virtual ~DebugOutput() = default;

  /// The text as it is, no line end added.
  virtual void Write(std::u16string_view text) = 0;
};

class Board {
 public:
  virtual ~Board() = default;

  virtual Kernel& GetKernel() = 0;
  virtual SerialPorts& GetSerialPorts() = 0;
  virtual Pins& GetPins() = 0;
  virtual Files& GetFiles() = 0;
  virtual Registry& GetRegistry() = 0;
  virtual DebugOutput& GetDebugOutput() = 0;
};

/// The board that the layer's functions use. Set before `CreatePhotometer`, changed only while no device exists. The
/// caller keeps ownership; null takes it away. Returns the board before.
Board* SetBoard(Board* pBoard);
/// The current board; never null once `SetBoard` or `OpenDefaultBoard` succeeded.
Board& CurrentBoard();
/// Makes the POSIX board of the board file (environment variable PHOTOMETER_BOARD, else /etc/photometer/board.toml)
/// the current one, if there is none yet. False: it cannot be had, and the reason was written to standard error.
bool OpenDefaultBoard();

}  // namespace photometer::platform
