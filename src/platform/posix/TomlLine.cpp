#include "platform/posix/TomlLine.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "platform/posix/ControlCharacter.h"

namespace photometer::platform {

namespace {

constexpr std::string_view Blanks = " \t";

struct Escape {
  char letter;
  char character;
};

constexpr Escape Escapes[] = {{'\\', '\\'}, {'"', '"'}, {'n', '\n'}, {'t', '\t'}};

bool IsBare(char character) {
  const bool bLetter = (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
  return bLetter || (character >= '0' && character <= '9') || character == '-' || character == '_';
}

bool IsNumeral(char character) { return IsBare(character) || character == '.' || character == '+'; }

/// What is left of a line, taken off piece by piece.
class Rest {
 public:
  explicit Rest(std::string_view text) : m_text(text) {}

  /// The next character that is not a blank; 0 at the end or at a comment.
  char Peek() {
    m_text.remove_prefix(std::min(m_text.find_first_not_of(Blanks), m_text.size()));
    return m_text.empty() || m_text.front() == '#' ? '\0' : m_text.front();
  }

  /// Takes blanks and this character off; false, but for the blanks, when another one is next.
  bool Take(char character) {
    if (Peek() != character) {
      return false;
    }
    m_text.remove_prefix(1);
    return true;
  }

  std::string TakeBare(bool (*belongs)(char) = IsBare) {
    Peek();
    const auto end = std::find_if_not(m_text.begin(), m_text.end(), belongs);
    std::string name(m_text.begin(), end);
    m_text.remove_prefix(name.size());
    return name;
  }

  /// A text in quotes; nothing when there is none, or when it does not end or has an escape that is not known.
  std::optional<std::string> TakeQuoted() {
    const char quote = Peek();
    if (quote != '"' && quote != '\'') {
      return std::nullopt;
    }
    std::string text;
    for (std::size_t nIndex = 1; nIndex < m_text.size(); ++nIndex) {
      char character = m_text[nIndex];
      if (character == quote) {
        m_text.remove_prefix(nIndex + 1);
        return text;
      }
      if (quote == '"' && character == '\\') {
        const char letter = ++nIndex < m_text.size() ? m_text[nIndex] : '\0';
        const auto known = std::find_if(std::begin(Escapes), std::end(Escapes),
                                        [letter](const Escape& escape) { return escape.letter == letter; });
        if (known == std::end(Escapes)) {
          return std::nullopt;
        }
        character = known->character;
      }
      text += character;
    }
    return std::nullopt;
  }

 private:
  std::string_view m_text;
};

TomlLine Wrong(std::string name, std::string complaint) {
  return {TomlLine::Kind::Wrong, std::move(name), {}, std::move(complaint)};
}

TomlLine ParseSection(Rest& rest) {
  TomlLine line{TomlLine::Kind::Section, rest.TakeBare(), {}, {}};
  if (line.name.empty() || !rest.Take(']') || rest.Peek() != '\0') {
    return Wrong({}, "the section cannot be read; write it as [ports], alone on its line");
  }
  return line;
}

/// The texts up to the closing bracket, with commas between them.
bool TakeList(Rest& rest, std::vector<std::string>& values) {
  while (!rest.Take(']')) {
    std::optional<std::string> value = rest.TakeQuoted();
    if (!value.has_value() || (!rest.Take(',') && rest.Peek() != ']')) {
      return false;
    }
    values.push_back(std::move(*value));
  }
  return true;
}

TomlLine ParseEntry(Rest& rest) {
  TomlLine line{TomlLine::Kind::Text, rest.TakeBare(), {}, {}};
  if (line.name.empty() || !rest.Take('=')) {
    return Wrong(std::move(line.name), "the line cannot be read; write it as key = \"text\"");
  }
  if (rest.Take('[')) {
    line.kind = TomlLine::Kind::List;
    if (!TakeList(rest, line.values)) {
      return Wrong(std::move(line.name), "the list cannot be read; write it as [\"text\", \"text\"] on one line");
    }
  } else if (std::optional<std::string> value = rest.TakeQuoted(); value.has_value()) {
    line.values.push_back(std::move(*value));
  } else if (std::string bare = rest.TakeBare(IsNumeral); !bare.empty()) {
    line.kind = TomlLine::Kind::Bare;
    line.values.push_back(std::move(bare));
  } else {
    return Wrong(std::move(line.name),
                 "the value cannot be read; put text in quotes, in single ones if it has backslashes");
  }
  if (rest.Peek() != '\0') {
    return Wrong(std::move(line.name), "something follows the value; put one entry on each line");
  }
  return line;
}

}  // namespace

TomlLine TomlLine::Parse(std::string_view text) {
  if (text.ends_with('\r')) {
    text.remove_suffix(1);
  }
  if (std::any_of(text.begin(), text.end(), IsControl)) {
    return Wrong({}, "the line has a control character; remove it");
  }
  Rest rest(text);
  if (rest.Peek() == '\0') {
    return {};
  }
  return rest.Take('[') ? ParseSection(rest) : ParseEntry(rest);
}

}  // namespace photometer::platform
