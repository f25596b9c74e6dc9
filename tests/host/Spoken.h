/// A call of the program and what it said.
#pragma once

#include <string>
#include <vector>

#include <nlohmann/json.hpp>

#include "Command.h"

namespace host {

using Words = std::vector<std::string>;

struct Spoken {
  ExitCode code;
  std::string results;
  std::string messages;

  [[nodiscard]] nlohmann::json Result() const { return nlohmann::json::parse(results); }
};

/// Who attends a call.
struct Company {
  /// One text after the other, each some time after the one before.
  std::vector<std::string> typed = {};
  /// Ctrl-C when this appears among the messages.
  std::string strInterruptAt = {};
};

/// Runs a command line, without the program's name, to its end. Its streams are no terminal.
Spoken Speak(const Words& arguments, const Company& company = {});
/// The same with --simulate.
Spoken Simulate(const Words& arguments, const Company& company = {});
/// The same with --simulate and --format json.
Spoken SimulateJson(const Words& arguments, const Company& company = {});
Words Joined(Words words, const Words& more);

}  // namespace host
