// Input: the words of a call of `photometer`, a line each. They are parsed and checked, and nothing is started.
// Checks: a refused call ends with exit code 2, writes no results, and says what is wrong, that nothing was started,
// and where to look, without control bytes.
#include <sstream>

#include "ByteText.h"
#include "CommandCall.h"
#include "support/Lines.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using Words = std::vector<std::string>;

void CheckRefused(const host::Refusal& refusal) {
  std::ostringstream results;
  std::ostringstream messages;
  host::Interrupt interrupt;
  host::Console console{results, messages, false, interrupt};
  Require(host::Refuse(console, refusal) == host::ExitCode::BadInput, "a refused call ends with exit code 2");
  Require(results.str().empty(), "a refused call has no results");
  fuzz::RequireMessage(messages.str(), host::Harmless(refusal.text));
  fuzz::RequirePrintable(messages.str());
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
  const auto prepared = host::PrepareCommandCall(words, nullptr);
  if (const auto* pRefusal = std::get_if<host::Refusal>(&prepared)) {
    CheckRefused(*pRefusal);
  }
}

const fuzz::Target target("CommandLine", Check);

}  // namespace
