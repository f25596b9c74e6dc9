#include "state/Deadline.h"

#include <algorithm>

#include "platform/Platform.h"

namespace photometer {

Deadline::Deadline(std::uint64_t nMilliseconds)
    : m_dwStart(platform::GetTickCount()), m_dwLimit(static_cast<DWORD>(std::min(nMilliseconds, LONGEST_LIMIT))) {}

DWORD Deadline::Rest() const {
  const DWORD dwElapsed = platform::GetTickCount() - m_dwStart;
  return dwElapsed < m_dwLimit ? m_dwLimit - dwElapsed : 0;
}

}  // namespace photometer
