/// What a run needs before a sipper pump can draw its sample: a flow cuvette in the holder, and a pump that answers.
#pragma once

#include "ExitCodes.h"
#include "InstrumentOptions.h"
#include "Progress.h"
#include "Session.h"

namespace host {

/// False, with a message: what is in the holder now is nothing that a pump could fill. The device would then measure
/// without pumping, and say nothing.
bool HasFlowCuvette(Session& session, Progress& progress);

/// Waits for a short time until the pump of the options has announced itself; a ZQ-420 is asked each second. Something
/// else than `Success` comes with a message.
ExitCode ConnectPump(const InstrumentOptions& instrument, Session& session, Progress& progress);

}  // namespace host
