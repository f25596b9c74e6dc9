/// The monotonic clock of the POSIX board, in nanoseconds: deadlines are absolute, so that a wait that was interrupted
/// goes on with what remains of its time.
#pragma once

#include <cstdint>
#include <ctime>

#include "photometer/Types.h"

namespace photometer::platform {

inline constexpr std::int64_t NanosecondsPerMicrosecond = 1'000;
inline constexpr std::int64_t NanosecondsPerMillisecond = 1'000'000;
inline constexpr std::int64_t NanosecondsPerSecond = 1'000'000'000;
/// The deadline of a wait without end.
inline constexpr std::int64_t NoDeadline = INT64_MAX;

std::int64_t MonotonicNanoseconds();
/// The moment that many milliseconds from now; `INFINITE` gives `NoDeadline`.
std::int64_t DeadlineAfter(DWORD dwMilliseconds);
timespec ToTimespec(std::int64_t nNanoseconds);

}  // namespace photometer::platform
