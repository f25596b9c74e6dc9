/// A fault of a simulated line on the command line: `KIND:LETTER[:NTH][:NAME=VALUE]...`.
///
/// KIND is silence, silent-execution, late, error, garbage, split, surplus, lost or stale. LETTER is that of the
/// command (`a` for `$a3`), or `*` for any. NTH is the how-manieth of these commands, from 1; `*` or nothing: each.
/// Values: `delay` in milliseconds (late, split), `count` in bytes (split, lost), `first` byte (lost), `text` (garbage,
/// surplus, stale). Example: `late:a:2:delay=500`. `count` of a pump's error is the fault's number.
///
/// Of an attached pump also what is no fault of one command: `keep-alive-stops`, `flood` (bytes without end, `text`
/// over and over), `pumping` (fault `count` in each cycle, `delay` behind its start); the first two from `delay` on.
#pragma once

#include <string>
#include <variant>

#include "simulator/FaultPlan.h"
#include "simulator/Instrument.h"

namespace common {

/// The fault, or what is wrong with the text.
std::variant<simulator::Fault, std::string> ParseFault(const std::string& text);

/// Gives the instrument's pump a fault; delays count from `now`. Returns what is wrong with the text, or with the pump;
/// empty: done.
std::string AddPumpFault(const std::string& text, simulator::Instrument& instrument, simulator::Time now);

}  // namespace common
