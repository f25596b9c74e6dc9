/// The program without its process: takes arguments, gives an exit code.
#pragma once

#include <string>
#include <vector>

#include "Command.h"

namespace host {

/// Runs the command that the arguments (without the program's name) say. Bad input ends with `BadInput` before
/// anything was started, and a message that says what is wrong, where, and what to do.
ExitCode RunCommandLine(const std::vector<std::string>& arguments, Console& console);

}  // namespace host
