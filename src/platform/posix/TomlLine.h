/// One line of a board file or a host file: `[section]`, `key = "text"`, `key = 'text'`, `key = ["text", "text"]`,
/// `key = 10` (a word or number without quotes), a comment or nothing. In double quotes `\\`, `\"`, `\n` and `\t` are
/// escapes; in single quotes everything stands for itself.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace photometer::platform {

struct TomlLine {
  enum class Kind { Nothing, Section, Text, List, Bare, Wrong };

  Kind kind = Kind::Nothing;
  /// Of the section or key; with `Wrong` empty when not even the key was understood.
  std::string name;
  std::vector<std::string> values;
  /// With `Wrong`: what is wrong, and what to do.
  std::string complaint;

  /// The line without its line end.
  static TomlLine Parse(std::string_view text);
};

}  // namespace photometer::platform
