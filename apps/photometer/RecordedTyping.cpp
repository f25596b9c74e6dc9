#include "RecordedTyping.h"

namespace host {

InputLine RecordedLines::Read() {
  if (m_nNext == m_lines.size()) {
    return {m_bCancelled ? InputEnd::Interrupted : InputEnd::Closed, {}};
  }
  const TracedShellLine& line = m_lines[m_nNext++];
  return m_board.WaitFor(line.nNumber) ? InputLine{InputEnd::Line, line.strText} : InputLine{InputEnd::Interrupted, {}};
}

RecordedInput::RecordedInput(const ReplayBoard& board, const Trace& trace) : m_board(board) {
  for (const TraceLine& line : trace.Lines()) {
    if (line.IsOfHost(TraceTyped)) {
      m_parts.push_back({line.nNumber, line.text.substr(TraceTyped.size())});
    } else if (line.IsOfHost(TraceInputEnd)) {
      m_parts.push_back({line.nNumber, std::nullopt});
    }
  }
}

std::optional<std::string> RecordedInput::Read(int /*iMilliseconds*/) {
  const bool bDue = m_nNext < m_parts.size() && m_board.IsDue(m_parts[m_nNext].nNumber);
  return bDue ? m_parts[m_nNext++].text : std::string();
}

}  // namespace host
