/// Splits what arrives at the optical unit into commands: a dollar sign, a letter, a decimal argument for most letters,
/// and a carriage return. Bytes arrive in any pieces.
///
/// A run of other bytes gives one command that is not valid, at its carriage return or at the dollar sign behind it.
/// A dollar sign inside a command ends that command as not valid and begins the next. Line feeds between commands and
/// carriage returns on their own are ignored.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace simulator {

struct Command {
  /// False: no command of the frame above.
  bool bValid = false;
  char letter = 0;
  std::optional<int> argument;
  /// What arrived, without the carriage return; cut after 32 characters.
  std::string strText;
};

class CommandParser {
 public:
  /// Takes the next bytes and returns the commands that they complete.
  std::vector<Command> Take(std::string_view bytes);
  void Clear() { m_strText.clear(); }

 private:
  static Command Judge(std::string strText);

  std::string m_strText;
};

}  // namespace simulator
