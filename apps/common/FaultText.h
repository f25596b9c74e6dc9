/// A fault of the optical unit's line on the command line: `KIND:LETTER[:NTH][:NAME=VALUE]...`.
///
/// KIND is silence, silent-execution, late, error, garbage, split, surplus, lost or stale. LETTER is that of the
/// command (`a` for `$a3`), or `*` for any. NTH is the how-manieth of these commands, from 1; `*` or nothing: each.
/// Values: `delay` in milliseconds (late, split), `count` in bytes (split, lost), `first` byte (lost), `text` (garbage,
/// surplus, stale). Example: `late:a:2:delay=500`.
#pragma once

#include <string>
#include <variant>

#include "simulator/FaultPlan.h"

namespace serving {

/// The fault, or what is wrong with the text.
std::variant<simulator::Fault, std::string> ParseFault(const std::string& text);

}  // namespace serving
