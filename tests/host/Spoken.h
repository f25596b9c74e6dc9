/// A call of the program and what it said.
#pragma once

#include <string>
#include <vector>

#include "Command.h"

namespace host {

struct Spoken {
  ExitCode code;
  std::string results;
  std::string messages;
};

/// Runs a command line, without the program's name, to its end. Its streams are no terminal, and nobody interrupts it.
Spoken Speak(const std::vector<std::string>& arguments);

}  // namespace host
