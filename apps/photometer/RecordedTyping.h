/// What a person typed while a trace was recorded, given again when it is due. In the channel `host` of the trace stand
/// the lines of a shell (see ShellTrace.h), and for an external port `typed TEXT`, as it was read, and `input-end`.
///
/// Used by the thread that made the replay's board, which must outlive them.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "ExitCodes.h"
#include "Input.h"
#include "LineReader.h"
#include "ReplayBoard.h"
#include "ShellTrace.h"

namespace host {

class RecordedLines final : public LineReader {
 public:
  RecordedLines(ReplayBoard& board, const Trace& trace, std::vector<TracedShellLine> lines);

  InputLine Read() override;
  /// Waits for the end of the lines. The exit code then; nothing: the trace ends before, or has been left.
  std::optional<ExitCode> End();
  [[nodiscard]] bool HasTerminal() const override { return false; }

 private:
  ReplayBoard& m_board;
  std::vector<TracedShellLine> m_lines;
  std::size_t m_nNext = 0;
  /// In the trace; 0: it has no end of the lines.
  std::size_t m_nEnd = 0;
  std::optional<ExitCode> m_endCode;
};

class RecordedInput final : public Input {
 public:
  RecordedInput(const ReplayBoard& board, const Trace& trace);

  /// Waits for nothing.
  std::optional<std::string> Read(int iMilliseconds) override;

 private:
  struct Part {
    /// In the trace.
    std::size_t nNumber;
    /// Nothing: the end.
    std::optional<std::string> text;
  };

  const ReplayBoard& m_board;
  std::vector<Part> m_parts;
  std::size_t m_nNext = 0;
};

}  // namespace host
