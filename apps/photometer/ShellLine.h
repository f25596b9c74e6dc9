/// One line of a shell or script: a command on the instrument that is kept, or a word of the shell's own.
#pragma once

#include <memory>
#include <span>
#include <string>
#include <variant>

#include "CommandCall.h"
#include "Workplace.h"

namespace host {

/// What only a shell or script understands.
struct ShellWord {
  std::string name;
  std::string summary;
  ExitCode (*run)(const std::vector<std::string>& words, Console& console);
};

std::span<const ShellWord> ShellWords();

/// The commands that may stand in a shell or script.
std::vector<const CommandEntry*> ShellCommands();

/// All of both, with what they do.
std::string ShellOverview();

class ShellLine {
 public:
  /// Takes the words apart and checks them, or says what is wrong and what to do.
  static std::variant<ShellLine, std::string> Parse(const std::vector<std::string>& words, Workplace& workplace);

  /// Nothing but blanks and comment.
  [[nodiscard]] bool IsEmpty() const { return m_words.empty(); }
  /// Ends the shell or script.
  [[nodiscard]] bool Quits() const { return !IsEmpty() && m_words.front() == "quit"; }
  /// Once.
  ExitCode Run(Console& console);

 private:
  std::vector<std::string> m_words;
  const ShellWord* m_pWord = nullptr;
  std::unique_ptr<CommandCall> m_pCall;
};

/// Starts the instrument up, again when it is on.
ExitCode StartUpAgain(Console& console);

/// What may follow a line's beginning: commands, their options, and the options' values.
std::vector<std::string> CompleteLine(const std::string& text, Workplace& workplace);

}  // namespace host
