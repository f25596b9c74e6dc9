#include "ExitCodes.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

namespace host {

namespace {

// 3 is also what the virtual board ends the process with when no thread can go on.
constexpr std::array Entries = {
    ExitCodeEntry{ExitCode::Success, "success", "all was measured"},
    ExitCodeEntry{ExitCode::BadInput, "bad input",
                  "command line, board file or port cannot be used; nothing was started"},
    ExitCodeEntry{ExitCode::InternalFault, "internal fault", "the program or the library broke one of its own rules"},
    ExitCodeEntry{ExitCode::StartUpFailed, "start-up failed", "the instrument did not pass its start-up"},
    ExitCodeEntry{ExitCode::InstrumentError, "instrument error", "the run ended with an instrument error"},
    ExitCodeEntry{ExitCode::Cancelled, "cancelled", "Ctrl-C or a request to end; the instrument was shut down"},
    ExitCodeEntry{ExitCode::NoEnd, "no end", "the run ended without saying how, or did not end; shut down"},
    ExitCodeEntry{ExitCode::Refused, "refused",
                  "the device refused to start the run, or the holder was not emptied for it"},
    ExitCodeEntry{ExitCode::NoCuvette, "no cuvette", "no cuvette was inserted in the time given"},
    ExitCodeEntry{ExitCode::OutputFailed, "output failed",
                  "all was done, but results, picture or trace were not written"},
    ExitCodeEntry{ExitCode::CheckFailed, "check failed",
                  "a self-test or check ran to its end, and found something wrong"},
    ExitCodeEntry{ExitCode::NoPump, "no pump", "the sipper pump of --pump did not answer; the run was not started"},
    ExitCodeEntry{ExitCode::BoardFaulty, "board faulty", "\"board check\" found something that must be mended"},
    ExitCodeEntry{ExitCode::TraceDiffers, "trace differs",
                  "the replayed run differs from its trace, or the trace ends before the run did"},
};

}  // namespace

std::span<const ExitCodeEntry> ExitCodes() { return Entries; }

std::optional<ExitCode> FindExitCode(std::string_view number) {
  const auto entry = std::ranges::find_if(
      Entries, [number](const ExitCodeEntry& one) { return std::to_string(static_cast<int>(one.code)) == number; });
  return entry == Entries.end() ? std::nullopt : std::optional(entry->code);
}

std::string ExitCodeText(ExitCode code) {
  std::string text = fmt::format("exit code {}", static_cast<int>(code));
  for (const ExitCodeEntry& entry : Entries) {
    if (entry.code == code) {
      text += fmt::format(", {}: {}", entry.name, entry.meaning);
    }
  }
  return text;
}

std::string ExitCodeTable() {
  std::string table;
  for (const ExitCodeEntry& entry : Entries) {
    table += fmt::format("  {:>3}  {:<17} {}\n", static_cast<int>(entry.code), entry.name, entry.meaning);
  }
  return table;
}

}  // namespace host
