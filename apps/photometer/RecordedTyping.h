/// What a person typed while a trace was recorded, given again when it is due. In the channel `host` of the trace stand
/// the lines of a shell (see ShellTrace.h), and for an external port `typed TEXT`, as it was read, and `input-end`.
///
/// Used by the thread that made the replay's board, which must outlive them.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Input.h"
#include "LineReader.h"
#include "ReplayBoard.h"
#include "ShellTrace.h"

namespace host {

class RecordedLines final : public LineReader {
 public:
  /// `bCancelled`: a request to end came behind the last one.
  RecordedLines(ReplayBoard& board, std::vector<TracedShellLine> lines, bool bCancelled)
      : m_board(board), m_lines(std::move(lines)), m_bCancelled(bCancelled) {}

  InputLine Read() override;
  [[nodiscard]] bool HasTerminal() const override { return false; }

 private:
  ReplayBoard& m_board;
  std::vector<TracedShellLine> m_lines;
  bool m_bCancelled;
  std::size_t m_nNext = 0;
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
