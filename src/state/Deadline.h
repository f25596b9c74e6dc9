/// How long a wait may still take. What the host and the instrument call for comes in seconds, the waits are in
/// milliseconds.
#pragma once

#include <cstdint>

#include "photometer/Types.h"

namespace photometer {

inline constexpr std::uint64_t MS_PER_SECOND = 1000;
/// Longest time that differences of ticks tell safely, though the wait for it ends late, ms: 24.8 days.
inline constexpr std::uint64_t LONGEST_LIMIT = 0x7FFFFFFF;

/// A time that is over at the latest so many milliseconds after the object was made. Wraps of the tick counter do no
/// harm; longer limits are cut to `LONGEST_LIMIT`.
class Deadline {
 public:
  explicit Deadline(std::uint64_t nMilliseconds);
  /// Milliseconds left; 0: over.
  [[nodiscard]] DWORD Rest() const;

 private:
  DWORD m_dwStart;
  DWORD m_dwLimit;
};

}  // namespace photometer
