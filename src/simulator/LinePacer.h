/// The sending side of a serial line: bytes leave one after another at the line's rate.
///
/// A byte of ten bits takes 10 / baud seconds (86.8 µs at 115200 baud). Bytes that follow each other without a pause
/// form a run, and the end of each is computed from the start of its run, so that no rounding adds up. A byte is handed
/// out in the first whole microsecond at which it is complete.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <string_view>

#include "simulator/SerialDevice.h"

namespace simulator {

class LinePacer {
 public:
  explicit LinePacer(std::uint32_t dwBaud = 115200) : m_dwBaud(dwBaud) {}

  /// Puts bytes behind those already waiting; the first begins no earlier than `earliest`.
  void Send(Time earliest, std::string_view bytes);
  /// When the next byte is complete; `Never` when none waits.
  [[nodiscard]] Time NextByte() const;
  /// The bytes complete up to `now`, each once.
  std::string Take(Time now);
  /// A byte other than these waits.
  [[nodiscard]] bool HoldsOtherThan(std::string_view bytes) const;
  /// Forgets what has not been taken.
  void Clear() { m_Runs.clear(); }
  /// How long the line needs for a number of bytes without a pause, µs, rounded up.
  [[nodiscard]] Time Duration(std::uint64_t nBytes) const;

 private:
  struct Run {
    Time start;
    std::uint64_t nTaken;  ///< bytes of the run already handed out; `strBytes` holds those behind them
    std::string strBytes;
  };

  [[nodiscard]] Time EndOf(const Run& run) const { return run.start + Duration(run.nTaken + run.strBytes.size()); }
  [[nodiscard]] std::size_t CompleteBytes(const Run& run, Time now) const;

  std::uint32_t m_dwBaud;
  std::deque<Run> m_Runs;
};

}  // namespace simulator
