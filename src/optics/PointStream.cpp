#include "optics/PointStream.h"

#include <algorithm>

namespace photometer {

PointStream::Verdict PointStream::Take(std::string_view bytes, std::vector<Reading>* pPoints) {
  m_strRest += bytes;
  if (HoldsError(bytes)) {
    return Verdict::Error;
  }
  if (m_strRest.size() / READING_BYTES > m_dwExpected - m_dwReceived) {
    return Verdict::TooMuch;
  }
  std::size_t nOffset = 0;
  for (; nOffset + READING_BYTES <= m_strRest.size(); nOffset += READING_BYTES) {
    pPoints->push_back(DecodeReading(m_strRest, nOffset));
    ++m_dwReceived;
  }
  m_strRest.erase(0, nOffset);
  return m_dwReceived == m_dwExpected ? Verdict::Complete : Verdict::Going;
}

bool PointStream::HoldsError(std::string_view bytes) {
  constexpr std::string_view ERROR_WORD = "error";
  m_strSearched += bytes;
  const bool bFound = m_strSearched.find(ERROR_WORD) != std::string::npos;
  m_strSearched.erase(0, m_strSearched.size() - std::min(m_strSearched.size(), ERROR_WORD.size() - 1));
  return bFound;
}

}  // namespace photometer
