/// What the end of a start-up or run means for the program.
#pragma once

#include <string>

#include "Command.h"
#include "ExitCodes.h"
#include "Progress.h"
#include "Session.h"

namespace host {

/// The exit code, with a message for a person unless it finished. `what` names the start-up or run; `onFailure` is the
/// code of an instrument error.
ExitCode Conclude(const RunEnd& end, const char* what, ExitCode onFailure, Progress& progress);

/// The exit code of a command that has written its last: `OutputFailed`, with a message, when results were lost and it
/// has ended as if they were not.
ExitCode ConcludeOutput(Console& console, ExitCode code);
/// Text that is all there is to tell.
ExitCode Print(Console& console, const std::string& text);

}  // namespace host
