// Input: a script, as `photometer run` takes it apart and checks it before anything starts.
// Checks: words that were split can be quoted and are split to the same; a script that cannot be used gives a message
// with its name and the line; one that is refused by its commands does so with a message for each line that is wrong.
#include "Script.h"

#include <sstream>

#include "Words.h"
#include "support/Lines.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using Words = std::vector<std::string>;

/// Each line makes a command's whole table of options.
constexpr std::size_t MOST_CHECKED = 3;

std::string Quoted(const Words& words) {
  std::string line;
  for (const std::string& word : words) {
    line += " \"";
    for (const char character : word) {
      line += character == '"' || character == '\\' ? "\\" : "";
      line += character;
    }
    line += '"';
  }
  return line;
}

void CheckWords(const std::string& line) {
  const auto split = host::SplitWords(line);
  if (const auto* pComplaint = std::get_if<std::string>(&split)) {
    return Require(!pComplaint->empty(), "what is wrong is said");
  }
  const auto& words = std::get<Words>(split);
  const auto again = host::SplitWords(Quoted(words));
  Require(std::holds_alternative<Words>(again) && std::get<Words>(again) == words, "quoted words are the same words");
}

/// Lines that each name their place.
void CheckComplaints(const std::string& complaints) {
  for (const std::string& line : fuzz::LinesOf(complaints)) {
    Require(line.size() < 8 || !line.starts_with("script:") || line.find(": ") != std::string::npos, "place and text");
  }
  fuzz::RequireMessage(complaints, "script:");
}

void Check(std::string_view input) {
  const std::string text = fuzz::WithoutFolders(input);
  const std::vector<std::string> lines = fuzz::LinesOf(text);
  for (const std::string& line : lines) {
    CheckWords(line);
  }
  std::istringstream stream(text);
  const auto script = host::Script::Read(stream, "script");
  if (const auto* pComplaint = std::get_if<std::string>(&script)) {
    return CheckComplaints(*pComplaint);
  }
  if (lines.size() > MOST_CHECKED) {
    return;
  }
  host::Workplace workplace({}, {});
  const std::string complaints = std::get<host::Script>(script).Check(workplace);
  if (!complaints.empty()) {
    CheckComplaints(complaints);
  }
}

const fuzz::Target target("Script", Check);

}  // namespace
