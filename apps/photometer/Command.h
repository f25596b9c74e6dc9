/// A command of the program: its options, their check, and what it does. One class for each command; Commands.h has
/// the table of all.
#pragma once

#include <ostream>

#include "ExitCodes.h"
#include "Input.h"
#include "Interrupt.h"

namespace CLI {
class App;
}

namespace host {

class RecordedLines;
class ReplayBoard;
class Workplace;

/// Where a command writes, who may end it, and what it works on.
struct Console {
  /// Results.
  std::ostream& results;
  /// Progress and messages.
  std::ostream& messages;
  /// A person watches the messages: they may be redrawn in place.
  bool bTerminal;
  Interrupt& interrupt;
  /// The instrument that commands join; null: each has one of its own.
  Workplace* pWorkplace = nullptr;
  /// Null: nobody types.
  Input* pInput = nullptr;
  /// The board of a replayed trace, which counts before the options' board. Null: nothing is replayed.
  ReplayBoard* pReplay = nullptr;
  /// Its lines of a shell or script. Null: nothing is replayed.
  RecordedLines* pLines = nullptr;
};

class Command {
 public:
  virtual ~Command() = default;
  /// Before `AddOptions`: from now on the command works on this instrument, which outlives it. Nothing for a command
  /// without instrument.
  virtual void Join(Workplace&) {}
  virtual void AddOptions(CLI::App& app) = 0;
  /// Checks what was parsed. Throws `CLI::ValidationError` naming option, value and what to do.
  virtual void Check() = 0;
  /// Only after `Check`.
  virtual ExitCode Run(Console& console) = 0;
  /// It runs lines of a script or shell, and each of them has told what of its output was lost.
  [[nodiscard]] virtual bool RunsLines() const { return false; }
};

}  // namespace host
