/// Lines that a person types, or that standard input holds.
///
/// Used by one thread. A request to end (Ctrl-C) while it waits is noticed at once.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Interrupt.h"

namespace host {

enum class InputEnd {
  /// There is a line.
  Line,
  /// A person asked to end while the line was not complete: it is dropped.
  Interrupted,
  /// Nothing more comes.
  Closed
};

struct InputLine {
  InputEnd end = InputEnd::Closed;
  std::string strText;
};

class LineReader {
 public:
  virtual ~LineReader() = default;
  virtual InputLine Read() = 0;
  /// A person types at a terminal.
  [[nodiscard]] virtual bool HasTerminal() const = 0;
};

/// What may follow the text in front of the cursor: whole words for its last one.
using Completer = std::function<std::vector<std::string>(const std::string&)>;

/// Editing, history and completion when both streams are a terminal (descriptors 0 and 2), else plain lines of
/// descriptor 0. The history is the file `photometer/history` below XDG_STATE_HOME, else below ~/.local/state.
std::unique_ptr<LineReader> MakeLineReader(const Interrupt& interrupt, Completer completer);

}  // namespace host
