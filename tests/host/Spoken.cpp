#include "host/Spoken.h"

#include <sstream>

#include "CommandLine.h"

namespace host {

Spoken Speak(const std::vector<std::string>& arguments) {
  std::ostringstream results;
  std::ostringstream messages;
  Interrupt interrupt;
  Console console{results, messages, false, interrupt};
  const ExitCode code = RunCommandLine(arguments, console);
  return {code, results.str(), messages.str()};
}

}  // namespace host
