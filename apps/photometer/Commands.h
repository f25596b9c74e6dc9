/// The table of the program's commands.
#pragma once

#include <memory>
#include <span>
#include <string>

#include "Command.h"

namespace host {

struct CommandEntry {
  std::string name;
  std::string summary;
  std::unique_ptr<Command> (*make)();
};

std::span<const CommandEntry> Commands();

/// Null when there is none of that name.
const CommandEntry* FindCommand(const std::string& name);

}  // namespace host
