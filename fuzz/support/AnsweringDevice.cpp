#include "support/AnsweringDevice.h"

namespace fuzz {

namespace {

/// What a device takes to begin with its answer, µs.
constexpr simulator::Time ANSWER_TIME = 300;

}  // namespace

void AnsweringDevice::Say(simulator::Time now, const std::vector<Piece>& pieces) {
  simulator::Time at = now + ANSWER_TIME;
  for (const Piece& piece : pieces) {
    at += piece.pause;
    m_Due.push_back({at, piece.bytes});
  }
}

void AnsweringDevice::Receive(simulator::Time now, std::string_view bytes) {
  m_strHeard += bytes;
  if (m_nAnswered < m_Answers.size() && m_nSaid == m_Due.size()) {
    Say(now, m_Answers[m_nAnswered++]);
  }
}

simulator::Time AnsweringDevice::NextActivity() const {
  return m_nSaid == m_Due.size() ? simulator::Never : m_Due[m_nSaid].time;
}

std::string AnsweringDevice::TakeOutput(simulator::Time now) {
  std::string output;
  for (; m_nSaid < m_Due.size() && m_Due[m_nSaid].time <= now; ++m_nSaid) {
    output += m_Due[m_nSaid].bytes;
  }
  return output;
}

}  // namespace fuzz
