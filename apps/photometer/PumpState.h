/// What commands about the attached sipper pump need: the pump itself, its port, and what it tells of itself.
#pragma once

#include <optional>

#include "ExitCodes.h"
#include "HostBoard.h"
#include "InstrumentOptions.h"
#include "Progress.h"
#include "Session.h"

namespace host {

/// Throws `CLI::ValidationError` when the options name no pump.
void RequirePump(const InstrumentOptions& instrument, bool bJoins);

/// The port of the options' pump; nothing without one.
std::optional<BoardPort> PumpPort(const InstrumentOptions& instrument);

/// Waits for at most a few seconds until a connected pump has told its version and what else it tells; a ZQ-420 is
/// asked. `Success` or `Cancelled`.
ExitCode LearnPump(const InstrumentOptions& instrument, Session& session, Progress& progress);

}  // namespace host
