#include "state/Deadline.h"

#include <algorithm>

#include "platform/Platform.h"

namespace photometer {

namespace {

/// Longest time that differences of ticks tell safely, ms.
constexpr std::uint64_t LONGEST_LIMIT = 0x7FFFFFFF;

}  // namespace

Deadline::Deadline(std::uint64_t nMilliseconds)
    : m_dwStart(platform::GetTickCount()), m_dwLimit(static_cast<DWORD>(std::min(nMilliseconds, LONGEST_LIMIT))) {}

DWORD Deadline::Rest() const {
  const DWORD dwElapsed = platform::GetTickCount() - m_dwStart;
  return dwElapsed < m_dwLimit ? m_dwLimit - dwElapsed : 0;
}

}  // namespace photometer
