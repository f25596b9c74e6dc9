#include "Conclusion.h"

#include <fmt/format.h>

#include "ErrorTexts.h"

namespace host {

ExitCode Conclude(const RunEnd& end, const char* what, ExitCode onFailure, Progress& progress) {
  switch (end.outcome) {
    case Outcome::Finished:
      return ExitCode::Success;
    case Outcome::Cancelled:
      progress.Say(fmt::format("{} cancelled", what));
      return ExitCode::Cancelled;
    case Outcome::Failed:
      progress.Say(end.error ? fmt::format("{} failed with error {}", what, *end.error)
                             : fmt::format("{} failed without telling an error; look into Photometer.log", what));
      return onFailure;
    case Outcome::Refused:
      progress.Say(fmt::format("{} was refused: {}", what, ExplainResult(end.hResult)));
      return onFailure == ExitCode::StartUpFailed ? onFailure : ExitCode::Refused;
    case Outcome::NoEnd:
      break;
  }
  progress.Say(fmt::format("{} ended without telling how; look into Photometer.log of the instrument", what));
  return ExitCode::NoEnd;
}

ExitCode ConcludeOutput(Console& console, ExitCode code) {
  // What these commands found is a result too.
  const bool bDone = code == ExitCode::Success || code == ExitCode::CheckFailed || code == ExitCode::BoardFaulty ||
                     code == ExitCode::TraceDiffers;
  console.results << std::flush;
  if (console.results || !bDone) {
    return code;
  }
  console.messages << "the output could not be written: is the disk full, or the reader gone?\n";
  return ExitCode::OutputFailed;
}

ExitCode Print(Console& console, const std::string& text) {
  console.results << text;
  return ConcludeOutput(console, ExitCode::Success);
}

}  // namespace host
