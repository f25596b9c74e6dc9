#include "simulator/LinePacer.h"

#include <algorithm>

namespace simulator {

namespace {

constexpr std::uint64_t BitsOfAMillionBytes = 10 * 1000000ULL;

}  // namespace

Time LinePacer::Duration(std::uint64_t nBytes) const {
  return (nBytes * BitsOfAMillionBytes + m_dwBaud - 1) / m_dwBaud;
}

void LinePacer::Send(Time earliest, std::string_view bytes) {
  if (bytes.empty()) return;
  if (m_Runs.empty() || earliest > EndOf(m_Runs.back())) {
    if (!m_Runs.empty() && m_Runs.back().strBytes.empty()) m_Runs.pop_back();
    m_Runs.push_back({earliest, 0, {}});
  }
  m_Runs.back().strBytes += bytes;
}

Time LinePacer::NextByte() const {
  // Only the last run may be empty: it is kept so that the next byte continues its count.
  if (m_Runs.empty() || m_Runs.front().strBytes.empty()) return Never;
  return m_Runs.front().start + Duration(m_Runs.front().nTaken + 1);
}

bool LinePacer::HoldsOtherThan(std::string_view bytes) const {
  return std::ranges::any_of(
      m_Runs, [bytes](const Run& run) { return run.strBytes.find_first_not_of(bytes) != std::string::npos; });
}

std::size_t LinePacer::CompleteBytes(const Run& run, Time now) const {
  if (now < run.start) return 0;
  const std::uint64_t nSinceStart = (now - run.start) * m_dwBaud / BitsOfAMillionBytes;
  if (nSinceStart <= run.nTaken) return 0;
  return static_cast<std::size_t>(std::min<std::uint64_t>(nSinceStart - run.nTaken, run.strBytes.size()));
}

std::string LinePacer::Take(Time now) {
  std::string strTaken;
  while (!m_Runs.empty()) {
    Run& run = m_Runs.front();
    const std::size_t nComplete = CompleteBytes(run, now);
    strTaken.append(run.strBytes, 0, nComplete);
    run.strBytes.erase(0, nComplete);
    run.nTaken += nComplete;
    if (!run.strBytes.empty() || m_Runs.size() == 1) break;
    m_Runs.pop_front();
  }
  return strTaken;
}

}  // namespace simulator
