#include "LogLines.h"

#include <algorithm>

namespace host {

namespace {

constexpr std::size_t BlockSize = 65536;
constexpr std::size_t LongestLine = 65536;

}  // namespace

bool LogLines::Fill() {
  m_strBlock.resize(BlockSize);
  m_nNext = 0;
  m_strBlock.resize(m_file.ReadSome(m_strBlock.data(), m_strBlock.size()).value_or(0));
  return !m_strBlock.empty();
}

bool LogLines::Next(Line& line) {
  line = {};
  bool bSomething = false;
  for (;;) {
    if (m_nNext == m_strBlock.size() && !Fill()) {
      line.bCut = true;
      return bSomething;
    }
    bSomething = true;
    const std::size_t nEnd = std::min(m_strBlock.find('\n', m_nNext), m_strBlock.size());
    const std::size_t nTaken = std::min(nEnd - m_nNext, LongestLine - line.text.size());
    line.text.append(m_strBlock, m_nNext, nTaken);
    line.bCut = line.bCut || nTaken < nEnd - m_nNext;
    m_nNext = std::min(nEnd + 1, m_strBlock.size());
    if (nEnd < m_strBlock.size()) {
      break;
    }
  }
  if (line.text.ends_with('\r')) {
    line.text.pop_back();
  }
  return true;
}

}  // namespace host
