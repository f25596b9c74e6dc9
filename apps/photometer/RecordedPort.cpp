#include "RecordedPort.h"

#include <algorithm>

namespace host {

RecordedPort::RecordedPort(const Trace& trace, std::string_view port)
    : m_nRecorded(trace.Lines().front().nMicroseconds) {
  for (const TraceLine& line : trace.Lines()) {
    if ((line.IsRead() || line.IsWrite()) && line.Port() == port) {
      m_events.push_back(&line);
    }
  }
}

const TraceLine* RecordedPort::NextWrite() const {
  const auto next = std::find_if(m_events.begin() + static_cast<std::ptrdiff_t>(m_nNext), m_events.end(),
                                 [](const TraceLine* pLine) { return pLine->IsWrite(); });
  return next == m_events.end() ? nullptr : *next;
}

bool RecordedPort::IsAheadOfTime(std::string_view bytes) const {
  const TraceLine* pWrite = NextWrite();
  return pWrite != nullptr && pWrite != m_events[m_nNext] && pWrite->text == bytes;
}

std::optional<std::size_t> RecordedPort::TakeWrite(simulator::Time now, std::string_view bytes) {
  const TraceLine* pWrite = IsOver() ? nullptr : m_events[m_nNext];
  if (pWrite == nullptr || !pWrite->IsWrite() || pWrite->text != bytes) {
    m_nNext = m_events.size();
    return std::nullopt;
  }
  ++m_nNext;
  m_nRecorded = pWrite->nMicroseconds;
  m_nReplayed = now;
  return pWrite->nNumber;
}

simulator::Time RecordedPort::NextActivity() const {
  if (!m_bOpen || IsOver() || m_events[m_nNext]->IsWrite()) {
    return simulator::Never;
  }
  return m_nReplayed + std::max(m_events[m_nNext]->nMicroseconds, m_nRecorded) - m_nRecorded;
}

std::string RecordedPort::TakeOutput(simulator::Time now) {
  std::string bytes;
  while (NextActivity() <= now) {
    bytes += m_events[m_nNext++]->text;
  }
  return bytes;
}

}  // namespace host
