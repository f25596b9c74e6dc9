#include "simulator/SipperLine.h"

#include <algorithm>
#include <utility>

namespace simulator {

namespace {

constexpr char Stx = '\x02';
constexpr char Etx = '\x03';
constexpr std::size_t LongestFrame = 64;

}  // namespace

std::vector<std::string> SipperLine::TakeFrames(Time now, std::string_view bytes) {
  std::vector<std::string> frames;
  for (const char byte : bytes) {
    if (byte == Stx) {
      m_bInFrame = true;
      m_strFrame.clear();
    } else if (byte == Etx && m_bInFrame) {
      m_bInFrame = false;
      m_Received.push_back({now, m_strFrame});
      frames.push_back(std::exchange(m_strFrame, {}));
    } else if (m_bInFrame && m_strFrame.size() < LongestFrame) {
      m_strFrame += byte;
    }
  }
  return frames;
}

void SipperLine::SendFrame(Time at, std::string_view text) {
  AnswerShaper clean;
  SendFrame(at, text, clean);
}

void SipperLine::SendFrame(Time at, std::string_view text, AnswerShaper& shaper) {
  std::string strFrame(1, Stx);
  strFrame += text;
  strFrame += Etx;
  at += shaper.Delay(FaultKind::Late);
  if (at >= m_SplitFrom && at < m_SplitUntil) at = m_SplitUntil;
  std::vector<AnswerShaper::Piece> pieces = shaper.Shape(strFrame);
  for (AnswerShaper::Piece& piece : shaper.Finish()) pieces.push_back(std::move(piece));
  for (AnswerShaper::Piece& piece : pieces) {
    if (piece.delay > 0) {
      m_SplitFrom = at;
      m_SplitUntil = at + piece.delay + m_Pacer.Duration(piece.strBytes.size());
    }
    SendBytes(at + piece.delay, std::move(piece.strBytes));
  }
}

void SipperLine::Clear() {
  m_Scheduled.clear();
  m_Pacer.Clear();
  m_SplitUntil = 0;
  m_bInFrame = false;
  m_strFrame.clear();
}

Time SipperLine::NextActivity() const {
  const Time scheduled = m_Scheduled.empty() ? Never : m_Scheduled.begin()->first;
  return std::min({scheduled, m_Pacer.NextByte(), m_Flood.NextByte()});
}

std::string SipperLine::TakeOutput(Time now) {
  while (!m_Scheduled.empty() && m_Scheduled.begin()->first <= now) {
    m_Pacer.Send(m_Scheduled.begin()->first, m_Scheduled.begin()->second);
    m_Scheduled.erase(m_Scheduled.begin());
  }
  return m_Pacer.Take(now) + m_Flood.Take(now);
}

}  // namespace simulator
