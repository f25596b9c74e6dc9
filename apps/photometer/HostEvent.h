/// What the device told its host, as values that outlive the callback.
#pragma once

#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "photometer/Records.h"

namespace host {

using photometer::DWORD;
using photometer::LONG;

struct Notification {
  DWORD dwRequestId;
  DWORD dwCode;
  DWORD dwValue;
};
struct Results {
  DWORD dwRequestId;
  photometer::MeasureValues values;
};
struct InstrumentError {
  DWORD dwRequestId;
  LONG iNumber;
  /// From a pump or flush, not from the optical unit.
  bool bPump;
};
struct CuvetteChange {
  LONG iCuvetteSize;
};
enum class CountdownKind { Settling, WarmUp };
struct Countdown {
  CountdownKind kind;
  DWORD dwSeconds;
};

struct SystemCheckChange {
  photometer::SystemCheckStatus status;
};

struct PumpConnection {
  bool bConnected;
};
/// A key of the pump ZQ-410: 'A', or 'B' behind a cycle that it has run by itself.
struct PumpKey {
  char key;
};
/// Bytes from the device at the external port.
struct ExternalData {
  std::string bytes;
};
/// The deuterium lamp: a session's has warmed up, or the instrument has switched it off.
struct LampChange {
  bool bReady;
};
/// What has no values.
enum class Signal { CheckDue, PumpPortLost, PumpCycleDone, PumpInfoChanged, FlushCompleted };

using HostEvent = std::variant<Notification, Results, InstrumentError, CuvetteChange, Countdown, SystemCheckChange,
                               PumpConnection, PumpKey, ExternalData, LampChange, Signal>;

/// Codes of `Notification` that the program acts on.
inline constexpr DWORD NOTIFY_FINISHED = 17;
inline constexpr DWORD NOTIFY_CANCELLED = 18;
inline constexpr DWORD NOTIFY_TEST_PASSED = 30;
inline constexpr DWORD NOTIFY_TEST_FAILED = 35;
inline constexpr DWORD NOTIFY_START_UP_ENDED = 39;

/// The notification's code, or nothing for another event.
std::optional<DWORD> CodeOf(const HostEvent& event);

}  // namespace host
