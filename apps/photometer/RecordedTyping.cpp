#include "RecordedTyping.h"

namespace host {

RecordedLines::RecordedLines(ReplayBoard& board, const Trace& trace, std::vector<TracedShellLine> lines)
    : m_board(board), m_lines(std::move(lines)) {
  for (const TraceLine& line : trace.Lines()) {
    if (line.IsOfHost(TraceLinesEnd)) {
      m_nEnd = line.nNumber;
      m_endCode = FindExitCode(line.text.substr(TraceLinesEnd.size()));
    }
  }
}

InputLine RecordedLines::Read() {
  if (m_nNext == m_lines.size()) {
    return {InputEnd::Closed, {}};
  }
  const TracedShellLine& line = m_lines[m_nNext++];
  return m_board.WaitFor(line.nNumber) ? InputLine{InputEnd::Line, line.strText} : InputLine{InputEnd::Interrupted, {}};
}

std::optional<ExitCode> RecordedLines::End() { return m_board.WaitFor(m_nEnd) ? m_endCode : std::nullopt; }

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
