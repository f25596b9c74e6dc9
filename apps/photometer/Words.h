/// A line of a shell or script taken apart into words, as a person quotes them.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace host {

/// Words stand between blanks. `'...'` and `"..."` keep blanks; a backslash keeps the next character, but between
/// single quotes. `#` at the beginning of a word makes the rest a comment. Gives the words, or what is wrong with the
/// line.
std::variant<std::vector<std::string>, std::string> SplitWords(std::string_view line);

/// The word as `SplitWords` gives it back, whatever is in it.
std::string QuoteWord(std::string_view word);

}  // namespace host
