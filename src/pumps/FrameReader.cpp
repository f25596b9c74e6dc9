#include "pumps/FrameReader.h"

#include <utility>

namespace photometer {

std::string Framed(std::string_view text) {
  std::string frame(1, STX);
  frame += text;
  frame += ETX;
  return frame;
}

std::optional<std::string> ExtractFrame(std::string* pBuffer) {
  for (std::size_t nEnd = pBuffer->find(ETX); nEnd != std::string::npos; nEnd = pBuffer->find(ETX)) {
    const std::size_t nStart = pBuffer->find(STX);
    const bool bWhole = nStart < nEnd;
    std::string frame = bWhole ? pBuffer->substr(nStart + 1, nEnd - nStart - 1) : std::string();
    pBuffer->erase(0, nEnd + 1);
    if (bWhole) {
      return frame;
    }
  }
  return std::nullopt;
}

bool FrameReader::Append(std::string_view bytes) {
  m_strBuffer += bytes;
  if (m_strBuffer.size() <= CAPACITY) {
    return false;
  }
  // Half is dropped at once: a flood must not move the whole buffer for each block.
  m_strBuffer.erase(0, m_strBuffer.size() - CAPACITY / 2);
  return !std::exchange(m_bDropReported, true);
}

std::string FrameReader::TakeAll() { return std::exchange(m_strBuffer, {}); }

FrameReader::Banner FrameReader::TakeBanner(std::string_view identity, std::size_t nSkip, std::size_t nLength,
                                            std::string* pText) {
  const std::size_t nIdentity = m_strBuffer.find(identity);
  if (nIdentity == std::string::npos) {
    return Banner::None;
  }
  const std::size_t nText = nIdentity + identity.size() + nSkip;
  if (m_strBuffer.size() < nText + nLength) {
    return Banner::Incomplete;
  }
  *pText = m_strBuffer.substr(nText, nLength);
  m_strBuffer.erase(0, nText + nLength);
  return Banner::Taken;
}

}  // namespace photometer
