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

using HostEvent = std::variant<Notification, Results, InstrumentError, CuvetteChange, Countdown, SystemCheckChange>;

/// Codes of `Notification` that the program acts on.
inline constexpr DWORD NOTIFY_FINISHED = 17;
inline constexpr DWORD NOTIFY_CANCELLED = 18;
inline constexpr DWORD NOTIFY_TEST_PASSED = 30;
inline constexpr DWORD NOTIFY_TEST_FAILED = 35;
inline constexpr DWORD NOTIFY_START_UP_ENDED = 39;

/// The notification's code, or nothing for another event.
std::optional<DWORD> CodeOf(const HostEvent& event);

}  // namespace host
