// Input: the words of a call of `photometer`, a line each. Nothing is started: a call is only run when its words have
// been refused before. Checks: a refused call ends with exit code 2, writes no results, and says what is wrong, that
// nothing was started, and where to look.
#include "CommandLine.h"

#include <sstream>

#include "CommandCall.h"
#include "support/Lines.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using Words = std::vector<std::string>;

/// What is wrong with the call; empty when it would be run.
std::string Refusal(const Words& words) {
  const auto found = host::FindNamedCommand(words);
  if (const auto* pComplaint = std::get_if<std::string>(&found)) {
    return *pComplaint;
  }
  const auto& named = std::get<host::NamedCommand>(found);
  return host::CommandCall(*named.pEntry, nullptr).Parse(named.options);
}

void CheckRefused(const Words& words, const std::string& refusal) {
  std::ostringstream results;
  std::ostringstream messages;
  host::Interrupt interrupt;
  host::Console console{results, messages, false, interrupt};
  Require(host::RunCommandLine(words, console) == host::ExitCode::BadInput, "a refused call ends with exit code 2");
  Require(results.str().empty(), "a refused call has no results");
  fuzz::RequireMessage(messages.str(), refusal);
  Require(messages.str().starts_with("photometer: ") &&
              messages.str().find("\nNothing was started. \"photometer ") != std::string::npos,
          "who speaks, and what to do: " + messages.str());
}

/// Those of the program itself print, and are no calls of a command.
bool IsCommand(const std::string& word) {
  return word != "-h" && word != "--help" && word != "--version" && !word.starts_with("--manual-page");
}

void Check(std::string_view input) {
  Words words = fuzz::LinesOf(fuzz::WithoutFolders(input));
  if (words.empty() || !IsCommand(words.front())) {
    return;
  }
  std::ranges::replace(words, "-", "standard-input");  // not to be read here
  if (const std::string refusal = Refusal(words); !refusal.empty()) {
    CheckRefused(words, refusal);
  }
}

const fuzz::Target target("CommandLine", Check);

}  // namespace
