#include "optics/PointStream.h"

namespace photometer {

PointStream::Verdict PointStream::Take(std::string_view bytes, std::vector<Reading>* pPoints) {
  m_strRest += bytes;
  if (m_strRest.find("error") != std::string::npos) {
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

}  // namespace photometer
