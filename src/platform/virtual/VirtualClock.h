/// The board's time, in microseconds since the board was made. Moves only when the scheduler moves it.
#pragma once

#include <chrono>
#include <cstdint>

#include "platform/Types.h"
#include "platform/virtual/VirtualBoard.h"

namespace photometer::platform {

inline constexpr std::uint64_t MicrosecondsPerMillisecond = 1000;

class VirtualClock {
 public:
  explicit VirtualClock(const VirtualBoardOptions& options);

  [[nodiscard]] std::uint64_t Now() const { return m_nNow; }
  /// Forward only. At a pace other than 0 it returns when that much real time has passed as well.
  void MoveTo(std::uint64_t nTime);
  /// Milliseconds from the start tick on; wraps at 32 bits.
  [[nodiscard]] DWORD TickCount() const;
  [[nodiscard]] SYSTEMTIME LocalTime() const;
  /// "12.345 ms", for reports.
  [[nodiscard]] std::string Text() const;

 private:
  std::uint64_t m_nNow = 0;
  DWORD m_dwStartTick;
  SYSTEMTIME m_startTime;
  double m_dPace;
  std::chrono::steady_clock::time_point m_realStart;
};

}  // namespace photometer::platform
