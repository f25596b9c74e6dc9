#include "LocalTime.h"

#include <fmt/format.h>

#include "platform/Platform.h"

namespace host {

namespace {

photometer::platform::SYSTEMTIME LocalTime() {
  photometer::platform::SYSTEMTIME time{};
  photometer::platform::GetLocalTime(&time);
  return time;
}

std::string Seconds(const photometer::platform::SYSTEMTIME& time) {
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", time.wYear, time.wMonth, time.wDay, time.wHour,
                     time.wMinute, time.wSecond);
}

}  // namespace

std::string LocalTimeText() { return Seconds(LocalTime()); }

std::string LocalTimeTextWithMilliseconds() {
  const photometer::platform::SYSTEMTIME time = LocalTime();
  return fmt::format("{}.{:03}", Seconds(time), time.wMilliseconds);
}

}  // namespace host
