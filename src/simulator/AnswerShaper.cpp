#include "simulator/AnswerShaper.h"

namespace simulator {

const Fault* AnswerShaper::Find(FaultKind kind) const {
  for (const Fault& fault : m_Faults) {
    if (fault.kind == kind) return &fault;
  }
  return nullptr;
}

Time AnswerShaper::Delay(FaultKind kind) const {
  Time delay = 0;
  for (const Fault& fault : m_Faults) {
    if (fault.kind == kind) delay += fault.delay;
  }
  return delay;
}

bool AnswerShaper::IsLost(std::size_t nIndex) const {
  for (const Fault& fault : m_Faults) {
    if (fault.kind == FaultKind::Lost && nIndex >= fault.first && nIndex - fault.first < fault.count) return true;
  }
  return false;
}

Time AnswerShaper::PauseBefore(std::size_t nIndex) const {
  Time pause = 0;
  for (const Fault& fault : m_Faults) {
    if (fault.kind == FaultKind::Split && nIndex >= fault.count) pause += fault.delay;
  }
  return pause;
}

std::vector<AnswerShaper::Piece> AnswerShaper::Shape(std::string_view bytes) {
  if (Has(FaultKind::SilentExecution)) return {};
  std::vector<Piece> pieces;
  if (const Fault* pGarbage = Find(FaultKind::Garbage)) {
    if (!m_bReplaced) pieces.push_back({0, pGarbage->bytes});
    m_bReplaced = true;
    return pieces;
  }
  for (const char byte : bytes) {
    const std::size_t nIndex = m_nSent++;
    if (IsLost(nIndex)) continue;
    const Time pause = PauseBefore(nIndex);
    if (pieces.empty() || pieces.back().delay != pause) pieces.push_back({pause, {}});
    pieces.back().strBytes += byte;
  }
  return pieces;
}

std::vector<AnswerShaper::Piece> AnswerShaper::Finish() {
  std::vector<Piece> pieces;
  for (const Fault& fault : m_Faults) {
    if (fault.kind == FaultKind::Surplus) pieces.push_back({PauseBefore(m_nSent), fault.bytes});
  }
  return pieces;
}

}  // namespace simulator
