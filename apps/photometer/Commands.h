/// The table of the program's commands: help, manual pages and the shell are made of it.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Command.h"

namespace host {

struct CommandEntry {
  /// One word or two.
  std::string name;
  /// One line.
  std::string summary;
  std::unique_ptr<Command> (*make)();
  /// One paragraph of whole sentences.
  std::string description = {};
  /// Calls that work as they stand, one after the other, also with `--simulate`.
  std::vector<std::string> examples = {};
  /// May stand in a shell or script, on the instrument of that.
  bool bJoins = true;
};

std::span<const CommandEntry> Commands();

/// Null when there is none of that name.
const CommandEntry* FindCommand(const std::string& name);

}  // namespace host
