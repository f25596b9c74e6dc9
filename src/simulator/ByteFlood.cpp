#include "simulator/ByteFlood.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

constexpr std::uint64_t MicrosecondsPerSecond = 1000000;

}  // namespace

void ByteFlood::Start(Time from, Time until, std::uint64_t bytesPerSecond, std::string strPattern) {
  m_bOn = bytesPerSecond > 0 && !strPattern.empty();
  m_From = from;
  m_Until = until;
  m_BytesPerSecond = bytesPerSecond;
  m_nTaken = 0;
  m_strPattern = std::move(strPattern);
}

Time ByteFlood::NextByte() const {
  if (!m_bOn) return Never;
  const Time next = m_From + ((m_nTaken + 1) * MicrosecondsPerSecond + m_BytesPerSecond - 1) / m_BytesPerSecond;
  return next <= m_Until ? next : Never;
}

std::string ByteFlood::Take(Time now) {
  std::string strTaken;
  if (!m_bOn || now < m_From) return strTaken;
  const std::uint64_t nDue = (std::min(now, m_Until) - m_From) * m_BytesPerSecond / MicrosecondsPerSecond;
  while (m_nTaken < nDue) strTaken += m_strPattern[static_cast<std::size_t>(m_nTaken++ % m_strPattern.size())];
  return strTaken;
}

}  // namespace simulator
