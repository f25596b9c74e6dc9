/// A fault of a simulated line on the command line: `KIND:LETTER[:NTH][:NAME=VALUE]...`.
///
/// KIND is one of `CommandFaults` or `StreamFaults`. LETTER is that of the command (`a` for `$a3`), or `*` for any. NTH
/// is the how-manieth of these commands, from 1; `*` or nothing: each. Example: `late:a:2:delay=500`. Values: `delay`
/// in milliseconds, `count`, `first` byte, `text`.
///
/// Of an attached pump also what is no fault of one command, `PumpFaults`: `KIND[:NAME=VALUE]...`.
#pragma once

#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "simulator/FaultPlan.h"
#include "simulator/Instrument.h"

namespace common {

/// A kind of fault for help texts and manual pages.
struct FaultForm {
  std::string_view name;
  std::string_view meaning;  ///< with the values that it takes
};

/// Faults of a command, of unit and pumps.
std::vector<FaultForm> CommandFaults();
/// Faults of the unit's streams, which no pump has.
std::vector<FaultForm> StreamFaults();
/// Faults of a pump that befall no command.
std::vector<FaultForm> PumpFaults();
/// What LETTER may be.
std::vector<FaultForm> FaultLetters();

/// The fault of the optical unit, or what is wrong with the text.
std::variant<simulator::Fault, std::string> ParseFault(const std::string& text);

/// Gives the instrument's pump a fault; delays count from `now`. Returns what is wrong with the text, or with the pump;
/// empty: done.
std::string AddPumpFault(const std::string& text, simulator::Instrument& instrument, simulator::Time now);

}  // namespace common
