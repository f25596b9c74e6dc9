/// What the end of a start-up or run means for the program.
#pragma once

#include "ExitCodes.h"
#include "Progress.h"
#include "Session.h"

namespace host {

/// The exit code, with a message for a person unless it finished. `what` names the start-up or run; `onFailure` is the
/// code of an instrument error.
ExitCode Conclude(const RunEnd& end, const char* what, ExitCode onFailure, Progress& progress);

}  // namespace host
