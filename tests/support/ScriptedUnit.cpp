#include "support/ScriptedUnit.h"

#include <algorithm>

namespace photometer::tests {

namespace {

/// Some blocks are longer than what a port's driver hands over at once, none than what it keeps.
constexpr std::uint64_t FLOOD_BLOCK = std::uint64_t{64} * 1024;
constexpr simulator::Time FLOOD_PERIOD = 1000;

}  // namespace

void ScriptedUnit::Receive(simulator::Time now, std::string_view bytes) {
  for (const char byte : bytes) {
    if (byte == '\r') {
      Accept(now, m_strLine);
      m_strLine.clear();
    } else {
      m_strLine += byte;
    }
  }
}

void ScriptedUnit::Accept(simulator::Time now, const std::string& command) {
  m_Commands.push_back(command);
  Answer answer{{ANSWER_TIME, "ok\r\n"}};
  if (const auto found = m_Scripts.find(command); found != m_Scripts.end()) {
    answer = found->second.front();
    if (found->second.size() > 1) {
      found->second.erase(found->second.begin());
    }
  }
  simulator::Time at = now;
  for (const Piece& piece : answer) {
    at += piece.delay;
    m_Scheduled.emplace(at, piece.bytes);
  }
}

simulator::Time ScriptedUnit::NextActivity() const {
  simulator::Time next = m_Scheduled.empty() ? simulator::Never : m_Scheduled.begin()->first;
  if (m_nFloodLeft > 0) {
    next = std::min(next, m_NextFlood);
  }
  return m_Unasked.empty() ? next : 0;
}

std::string ScriptedUnit::TakeOutput(simulator::Time now) {
  for (const Piece& piece : m_Unasked) {
    m_Scheduled.emplace(now + piece.delay, piece.bytes);
  }
  m_Unasked.clear();
  std::string output;
  while (!m_Scheduled.empty() && m_Scheduled.begin()->first <= now) {
    output += m_Scheduled.begin()->second;
    m_Scheduled.erase(m_Scheduled.begin());
  }
  if (m_nFloodLeft > 0 && m_NextFlood <= now) {
    const std::uint64_t nBytes = std::min(m_nFloodLeft.load(), FLOOD_BLOCK);
    m_nFloodLeft -= nBytes;
    m_NextFlood = now + FLOOD_PERIOD;
    output.append(nBytes, 'g');
  }
  return output;
}

}  // namespace photometer::tests
