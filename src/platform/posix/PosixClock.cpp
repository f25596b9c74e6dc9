#include "platform/posix/PosixClock.h"

#include "platform/Types.h"

namespace photometer::platform {

std::int64_t MonotonicNanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * NanosecondsPerSecond + now.tv_nsec;
}

std::int64_t DeadlineAfter(DWORD dwMilliseconds) {
  if (dwMilliseconds == INFINITE) return NoDeadline;
  return MonotonicNanoseconds() + std::int64_t{dwMilliseconds} * NanosecondsPerMillisecond;
}

timespec ToTimespec(std::int64_t nNanoseconds) {
  timespec result{};
  result.tv_sec = static_cast<time_t>(nNanoseconds / NanosecondsPerSecond);
  result.tv_nsec = static_cast<long>(nNanoseconds % NanosecondsPerSecond);
  return result;
}

}  // namespace photometer::platform
