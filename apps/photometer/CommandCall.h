/// A command that is called: its name found in the table, its options parsed and checked.
#pragma once

#include <memory>
#include <string>
#include <variant>
#include <vector>

#include <CLI/CLI.hpp>

#include "Command.h"
#include "Commands.h"

namespace host {

class CommandCall {
 public:
  /// Joins the instrument, unless it is null.
  CommandCall(const CommandEntry& entry, Workplace* pWorkplace);

  /// Parses the options and checks them. Returns what is wrong; empty when it may be run or asks for help.
  std::string Parse(std::vector<std::string> options);
  /// Only after a good `Parse`: prints the help, or runs the command. Once.
  ExitCode Run(Console& console);

  [[nodiscard]] bool AsksForHelp() const { return m_bHelp; }
  [[nodiscard]] const CommandEntry& Entry() const { return m_entry; }
  [[nodiscard]] const CLI::App& App() const { return m_app; }
  /// As a person calls it, without options.
  [[nodiscard]] std::string Name() const { return m_app.get_name(); }

 private:
  [[nodiscard]] std::string ComplainAboutExtras() const;

  const CommandEntry& m_entry;
  Workplace* m_pWorkplace;
  CLI::App m_app;
  std::unique_ptr<Command> m_pCommand;
  bool m_bHelp = false;
};

/// The command that the words begin with, and the words behind its name.
struct NamedCommand {
  const CommandEntry* pEntry;
  std::vector<std::string> options;
};

/// Finds a name of one word or two, or says what is wrong. There is at least one word.
std::variant<NamedCommand, std::string> FindNamedCommand(const std::vector<std::string>& words);

/// The command works on an instrument: a trace of it can be written, and replayed.
bool WorksOnInstrument(const CommandEntry& entry);

/// Why a call is not run.
struct Refusal {
  std::string text;
  /// The call that tells what is possible.
  std::string helpCall;
};

/// A call ready to be run, or why there is none. There is at least one word.
std::variant<std::unique_ptr<CommandCall>, Refusal> PrepareCommandCall(const std::vector<std::string>& words,
                                                                       Workplace* pWorkplace);

/// Tells the person; the exit code of bad input.
ExitCode Refuse(Console& console, const Refusal& refusal);

/// `; did you mean "..."?`, or nothing when no candidate is near.
std::string Hint(const std::string& word, const std::vector<std::string>& candidates);

/// All options of a command, "--readings".
std::vector<std::string> OptionNames(const CLI::App& app);

}  // namespace host
