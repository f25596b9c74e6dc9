/// How the program ends: one code for each kind of end, for scripts. docs/exit-codes.md holds the same table.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace host {

enum class ExitCode : int {
  Success = 0,
  BadInput = 2,
  InternalFault = 3,
  StartUpFailed = 10,
  InstrumentError = 11,
  Cancelled = 12,
  NoEnd = 13,
  Refused = 14,
  NoCuvette = 15,
  OutputFailed = 16,
  CheckFailed = 17,
  NoPump = 18,
  BoardFaulty = 19,
  TraceDiffers = 20
};

struct ExitCodeEntry {
  ExitCode code;
  std::string_view name;
  std::string_view meaning;
};

/// All codes, lowest first.
std::span<const ExitCodeEntry> ExitCodes();

/// Of a number as text; nothing: there is no such code.
std::optional<ExitCode> FindExitCode(std::string_view number);

/// "exit code 12, cancelled: ..."
std::string ExitCodeText(ExitCode code);

/// The table as lines of text, each ended, for the help text.
std::string ExitCodeTable();

}  // namespace host
