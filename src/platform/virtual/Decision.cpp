#include "platform/virtual/Decision.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <tuple>

namespace photometer::platform {

namespace {

/// In the order of the kinds.
constexpr std::array<std::string_view, 7> KindNames = {"switch", "next", "waiter",   "late",
                                                       "block",  "hold", "meanwhile"};

std::string ToText(const Decision& decision) {
  std::string text(KindNames[static_cast<std::size_t>(decision.kind)]);
  text += ' ' + std::to_string(decision.dwWho) + '@' + std::to_string(decision.nCall);
  if (decision.nNth > 0) {
    text += '.' + std::to_string(decision.nNth);
  }
  return text + ' ' + std::to_string(decision.nChoice) + '\n';
}

/// Takes a number off the front.
template <typename Number>
bool Take(std::string_view& text, Number& number) {
  const auto [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), number);
  text.remove_prefix(static_cast<std::size_t>(pEnd - text.data()));
  return error == std::errc();
}

bool Take(std::string_view& text, char character) {
  const bool bThere = text.starts_with(character);
  text.remove_prefix(bThere ? 1 : 0);
  return bThere;
}

bool Take(std::string_view& text, DecisionKind& kind) {
  const std::string_view word = text.substr(0, text.find(' '));
  const auto* const pFound = std::ranges::find(KindNames, word);
  if (pFound == KindNames.end()) {
    return false;
  }
  kind = static_cast<DecisionKind>(pFound - KindNames.begin());
  text.remove_prefix(word.size());
  return true;
}

bool ParseLine(std::string_view line, Decision& decision) {
  if (!Take(line, decision.kind) || !Take(line, ' ') || !Take(line, decision.dwWho) || !Take(line, '@') ||
      !Take(line, decision.nCall)) {
    return false;
  }
  if (Take(line, '.') && !Take(line, decision.nNth)) {
    return false;
  }
  return Take(line, ' ') && Take(line, decision.nChoice) && line.empty();
}

}  // namespace

bool Decision::operator<(const Decision& other) const {
  return std::tie(kind, dwWho, nCall, nNth, nChoice) <
         std::tie(other.kind, other.dwWho, other.nCall, other.nNth, other.nChoice);
}

std::string ToText(const DecisionList& decisions) {
  std::string text;
  for (const Decision& decision : decisions) {
    text += ToText(decision);
  }
  return text;
}

std::optional<DecisionList> ParseDecisions(std::string_view text) {
  DecisionList decisions;
  while (!text.empty()) {
    const std::string_view line = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(line.size() + 1, text.size()));
    if (line.empty() || line.front() == '#') {
      continue;
    }
    if (!ParseLine(line, decisions.emplace_back())) {
      return std::nullopt;
    }
  }
  return decisions;
}

}  // namespace photometer::platform
