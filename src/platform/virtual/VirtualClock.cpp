#include "platform/virtual/VirtualClock.h"

#include <thread>

namespace photometer::platform {

VirtualClock::VirtualClock(const VirtualBoardOptions& options)
    : m_dwStartTick(options.startTick),
      m_startTime(options.startTime),
      m_dPace(options.pace),
      m_realStart(std::chrono::steady_clock::now()) {}

void VirtualClock::MoveTo(std::uint64_t nTime) {
  if (nTime <= m_nNow) {
    return;
  }
  m_nNow = nTime;
  if (m_dPace > 0) {
    const std::chrono::duration<double, std::micro> real(static_cast<double>(nTime) / m_dPace);
    std::this_thread::sleep_until(m_realStart + std::chrono::duration_cast<std::chrono::microseconds>(real));
  }
}

DWORD VirtualClock::TickCount() const {
  return m_dwStartTick + static_cast<DWORD>(m_nNow / MicrosecondsPerMillisecond);
}

SYSTEMTIME VirtualClock::LocalTime() const {
  using namespace std::chrono;
  const year_month_day startDate{year{m_startTime.wYear}, month{m_startTime.wMonth}, day{m_startTime.wDay}};
  const auto time = sys_time<milliseconds>(sys_days(startDate)) + hours(m_startTime.wHour) +
                    minutes(m_startTime.wMinute) + seconds(m_startTime.wSecond) +
                    milliseconds(m_startTime.wMilliseconds) + milliseconds(m_nNow / MicrosecondsPerMillisecond);
  const sys_days today = floor<days>(time);
  const year_month_day date(today);
  const hh_mm_ss<milliseconds> clock(time - today);
  SYSTEMTIME result{};
  result.wYear = static_cast<WORD>(static_cast<int>(date.year()));
  result.wMonth = static_cast<WORD>(static_cast<unsigned>(date.month()));
  result.wDayOfWeek = static_cast<WORD>(weekday(today).c_encoding());
  result.wDay = static_cast<WORD>(static_cast<unsigned>(date.day()));
  result.wHour = static_cast<WORD>(clock.hours().count());
  result.wMinute = static_cast<WORD>(clock.minutes().count());
  result.wSecond = static_cast<WORD>(clock.seconds().count());
  result.wMilliseconds = static_cast<WORD>(clock.subseconds().count());
  return result;
}

std::string VirtualClock::Text() const {
  std::string fraction = std::to_string(m_nNow % MicrosecondsPerMillisecond);
  fraction.insert(0, 3 - fraction.size(), '0');
  return std::to_string(m_nNow / MicrosecondsPerMillisecond) + '.' + fraction + " ms";
}

}  // namespace photometer::platform
