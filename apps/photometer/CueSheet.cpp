#include "CueSheet.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>

namespace host {

namespace {

constexpr std::uint32_t Unreadable = 2;

struct PinChange {
  std::uint32_t dwPin;
  std::uint32_t dwLevel;
};

/// Of "in 3/12 = 1"; nothing for an output.
std::optional<PinChange> ParsePin(std::string_view text) {
  const std::size_t nPin = text.find('/') + 1;
  const std::size_t nLevel = text.find(" = ");
  if (!text.starts_with("in ") || nPin == 0 || nLevel == std::string_view::npos || nLevel < nPin) {
    return std::nullopt;
  }
  PinChange change{0, Unreadable};
  const auto [pEnd, error] = std::from_chars(text.data() + nPin, text.data() + nLevel, change.dwPin);
  if (error != std::errc() || pEnd != text.data() + nLevel) {
    return std::nullopt;
  }
  const std::string_view level = text.substr(nLevel + 3);
  change.dwLevel = level == "0" ? 0 : level == "1" ? 1 : Unreadable;
  return change;
}

}  // namespace

CueSheet::CueSheet(const Trace& trace) {
  Cue cue{0, 0};
  simulator::Time nAfter = trace.Lines().front().nMicroseconds;
  m_reached[0] = 0;
  for (const TraceLine& line : trace.Lines()) {
    if (line.IsWrite()) {
      cue.nAfter = line.nNumber;
      nAfter = line.nMicroseconds;
    }
    m_bPins = m_bPins || line.channel == "pin";
    cue.nDelay = std::max(line.nMicroseconds, nAfter) - nAfter;
    const std::optional<PinChange> change = line.channel == "pin" ? ParsePin(line.text) : std::nullopt;
    if (change) {
      m_pins[change->dwPin].levels.push_back({cue, change->dwLevel});
    } else if (line.IsOfHost(TraceInterrupt)) {
      m_requests.push_back(cue);
    } else if (line.channel == HostChannel) {
      m_lines[line.nNumber] = cue;
    }
  }
}

std::optional<simulator::Time> CueSheet::TimeOf(const Cue& cue) const {
  const auto reached = m_reached.find(cue.nAfter);
  return reached == m_reached.end() ? std::nullopt : std::optional(reached->second + cue.nDelay);
}

bool CueSheet::IsDue(const Cue& cue, simulator::Time now) const {
  const std::optional<simulator::Time> due = TimeOf(cue);
  return due && *due <= now;
}

std::optional<simulator::Time> CueSheet::DueTime(std::size_t nLine) const {
  const auto line = m_lines.find(nLine);
  return line == m_lines.end() ? std::nullopt : TimeOf(line->second);
}

std::uint32_t CueSheet::ReadPin(simulator::Time now, std::uint32_t pin) {
  const auto found = m_pins.find(pin);
  if (found == m_pins.end()) {
    return 0;
  }
  auto& [levels, nNow] = found->second;
  while (nNow + 1 < levels.size() && IsDue(levels[nNow + 1].cue, now)) {
    ++nNow;
  }
  return levels[nNow].dwLevel;
}

int CueSheet::TakeRequests(simulator::Time now) {
  int iDue = 0;
  for (; m_nTaken < m_requests.size() && IsDue(m_requests[m_nTaken], now); ++m_nTaken) {
    ++iDue;
  }
  return iDue;
}

}  // namespace host
