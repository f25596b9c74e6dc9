#include "simulator/CuvetteHolder.h"

#include <algorithm>
#include <iterator>

#include "simulator/Random.h"

namespace simulator {

namespace {

struct Pattern {
  int iSize;
  std::array<std::uint32_t, CuvetteHolder::PinCount> withUV;
  std::array<std::uint32_t, CuvetteHolder::PinCount> withoutUV;
};

constexpr std::array<Pattern, 6> Patterns = {{{10, {0, 0, 1}, {0, 1, 0}},
                                              {14, {0, 1, 0}, {0, 0, 1}},
                                              {20, {0, 1, 1}, {0, 1, 1}},
                                              {40, {1, 1, 0}, {1, 0, 1}},
                                              {50, {1, 1, 1}, {1, 1, 1}},
                                              {CuvetteHolder::Fixation, {1, 0, 0}, {1, 0, 0}}}};

constexpr Time ChatterPeriod = 400;  // µs in which a chattering contact keeps its level

}  // namespace

std::vector<int> CuvetteHolder::Sizes() {
  std::vector<int> sizes;
  for (const Pattern& pattern : Patterns) {
    if (pattern.iSize != Fixation) sizes.push_back(pattern.iSize);
  }
  return sizes;
}

void CuvetteHolder::Insert(int iSize, Time at) {
  const auto later = [at](const Change& change) { return change.at >= at; };
  m_Changes.erase(std::find_if(m_Changes.begin(), m_Changes.end(), later), m_Changes.end());
  m_Changes.push_back({at, iSize});
}

void CuvetteHolder::SetUnreadable(std::uint32_t dwPin, bool bUnreadable) {
  if (dwPin >= FirstPin && dwPin < FirstPin + PinCount) m_Unreadable[dwPin - FirstPin] = bUnreadable;
}

int CuvetteHolder::Size(Time now) const {
  int iSize = 0;
  for (const Change& change : m_Changes) {
    if (change.at <= now) iSize = change.iSize;
  }
  return iSize;
}

std::uint32_t CuvetteHolder::Level(int iSize, std::size_t nPin) const {
  for (const Pattern& pattern : Patterns) {
    if (pattern.iSize == iSize) return (m_Settings.bUV ? pattern.withUV : pattern.withoutUV)[nPin];
  }
  return 0;
}

bool CuvetteHolder::Chatter(Time now, std::size_t nPin) const {
  return (Mix(m_Settings.seed ^ Mix(now / ChatterPeriod * PinCount + nPin)) & 1U) != 0;
}

std::uint32_t CuvetteHolder::ReadPin(Time now, std::uint32_t dwPin) {
  if (dwPin < FirstPin || dwPin >= FirstPin + PinCount) return Unreadable;
  const std::size_t nPin = dwPin - FirstPin;
  if (m_Unreadable[nPin]) return Unreadable;
  const Time bounce = Time{m_Settings.bounceMilliseconds} * 1000;
  std::uint32_t dwLevel = 0;
  for (const Change& change : m_Changes) {
    if (change.at > now) break;
    const std::uint32_t dwNew = Level(change.iSize, nPin);
    const bool bSettled = now - change.at >= bounce;
    // A chattering contact is now where it was, now where it goes.
    if (bSettled || dwNew == dwLevel || Chatter(now, nPin)) dwLevel = dwNew;
  }
  return dwLevel;
}

}  // namespace simulator
