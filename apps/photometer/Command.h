/// A command of the program: its options, their check, and what it does. One class for each command; Commands.h has
/// the table of all.
#pragma once

#include <ostream>

#include <CLI/CLI.hpp>

#include "ExitCodes.h"
#include "Interrupt.h"

namespace host {

/// Where a command writes, and who may end it.
struct Console {
  /// Results.
  std::ostream& results;
  /// Progress and messages.
  std::ostream& messages;
  /// A person watches the messages: they may be redrawn in place.
  bool bTerminal;
  const Interrupt& interrupt;
};

class Command {
 public:
  virtual ~Command() = default;
  virtual void AddOptions(CLI::App& app) = 0;
  /// Checks what was parsed. Throws `CLI::ValidationError` naming option, value and what to do.
  virtual void Check() = 0;
  /// Only after `Check`.
  virtual ExitCode Run(Console& console) = 0;
};

}  // namespace host
