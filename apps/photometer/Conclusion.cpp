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

}  // namespace host
