/// Types of the operating-system layer, named as on the instrument's board.
#pragma once

#include <cstdint>

#include "photometer/Types.h"

namespace photometer::platform {

/// Names an object of the board. Numbers are never used twice in a process: a closed or foreign handle names nothing.
using HANDLE = std::uint64_t;

/// What opening returns when it fails. Not open yet is 0.
inline constexpr HANDLE INVALID_HANDLE_VALUE = ~HANDLE{0};

/// A wait without end.
inline constexpr DWORD INFINITE = 0xFFFFFFFFU;
/// Results of the waits: the index of the first signalled handle in the array's order, or one of these.
inline constexpr DWORD WAIT_OBJECT_0 = 0;
inline constexpr DWORD WAIT_TIMEOUT = 258;
inline constexpr DWORD WAIT_FAILED = 0xFFFFFFFFU;
/// The longest array that a wait takes.
inline constexpr DWORD MAXIMUM_WAIT_OBJECTS = 64;

/// Calendar time in the board's time zone.
struct SYSTEMTIME {
  WORD wYear;
  WORD wMonth;
  WORD wDayOfWeek;
  WORD wDay;
  WORD wHour;
  WORD wMinute;
  WORD wSecond;
  WORD wMilliseconds;
};

/// Settings of a serial port.
struct DCB {
  DWORD DCBlength;
  DWORD BaudRate;
  /// Bit 1: check parity.
  DWORD Flags;
  BYTE ByteSize;
  /// 0 none, 1 odd, 2 even.
  BYTE Parity;
  /// 0: one stop bit, 2: two.
  BYTE StopBits;
};
inline constexpr DWORD DCB_LENGTH = 28;
inline constexpr DWORD DCB_CHECK_PARITY = 1U << 1U;
inline constexpr BYTE NOPARITY = 0;
inline constexpr BYTE ODDPARITY = 1;
inline constexpr BYTE EVENPARITY = 2;
inline constexpr BYTE ONESTOPBIT = 0;
inline constexpr BYTE TWOSTOPBITS = 2;

/// What `PurgeComm` discards: bytes that wait to be sent, bytes that were received.
inline constexpr DWORD PURGE_TXCLEAR = 4;
inline constexpr DWORD PURGE_RXCLEAR = 8;

/// What `GpioGetInput` gives for a pin that cannot be read.
inline constexpr DWORD UnreadablePin = 0xFFFFFFFFU;

/// Serial read and write time-outs, ms. A read ends when the buffer is full, when the line has been silent for the
/// interval after a first byte, or when multiplier × bytes asked + constant has passed without one.
struct COMMTIMEOUTS {
  DWORD ReadIntervalTimeout;
  DWORD ReadTotalTimeoutMultiplier;
  DWORD ReadTotalTimeoutConstant;
  DWORD WriteTotalTimeoutMultiplier;
  DWORD WriteTotalTimeoutConstant;
};

}  // namespace photometer::platform
