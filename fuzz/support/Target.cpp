#include "support/Target.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace fuzz {

namespace {

constexpr std::size_t LONGEST_MESSAGE = 64U << 10;

std::vector<const Target*>& Targets() {
  static std::vector<const Target*> targets;
  return targets;
}

bool IsUnprintable(char character) {
  return (static_cast<unsigned char>(character) < ' ' && character != '\n' && character != '\t') || character == '\x7F';
}

}  // namespace

Target::Target(const char* name, Check check) : m_strName(name), m_Check(check) { Targets().push_back(this); }

const std::vector<const Target*>& Target::All() { return Targets(); }

void Require(bool bHolds, std::string_view property) {
  if (!bHolds) {
    std::fprintf(stderr, "\nbroken: %.*s\n", static_cast<int>(property.size()), property.data());
    std::abort();
  }
}

// The texts of a failure are put together when there is one: these run many times for each input.
void RequireEqual(std::string_view found, std::string_view expected, std::string_view property) {
  if (found != expected) {
    Require(false, std::string(property) + "\n  found:    \"" + std::string(found) + "\"\n  expected: \"" +
                       std::string(expected) + '"');
  }
}

void RequireMessage(std::string_view message, std::string_view place) {
  const auto shown = [message] { return " in the message \"" + std::string(message) + '"'; };
  if (message.empty() || message.size() > LONGEST_MESSAGE) {
    Require(false, "no text, or too much," + shown());
  }
  if (message.find(place) == std::string_view::npos) {
    Require(false, "no place \"" + std::string(place) + '"' + shown());
  }
}

void RequirePrintable(std::string_view text) {
  if (std::ranges::any_of(text, IsUnprintable)) {
    Require(false, "a control character in \"" + std::string(text) + '"');
  }
}

}  // namespace fuzz
