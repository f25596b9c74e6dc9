/// A time on the command line: "10s", "5min", "2h".
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "photometer/Types.h"

namespace CLI {
class App;
}

namespace host {

/// The time in s; nothing for a text that is no whole number with one of the units s, min and h, or beyond a week.
std::optional<photometer::DWORD> ParseDuration(std::string_view text);

/// "45 s", "3 min 20 s", "1 h 5 min".
std::string FormatDuration(photometer::DWORD dwSeconds);

/// An option whose value is a time, s, within a range and a multiple of the unit. Another value ends the parsing with a
/// `CLI::ValidationError` that names the option, the value and what is possible.
void AddDurationOption(CLI::App& app, const std::string& name, photometer::DWORD& dwSeconds, photometer::DWORD dwLowest,
                       photometer::DWORD dwHighest, photometer::DWORD dwUnit, const std::string& help);
/// The same for a time that need not be given.
void AddDurationOption(CLI::App& app, const std::string& name, std::optional<photometer::DWORD>& dwSeconds,
                       photometer::DWORD dwLowest, photometer::DWORD dwHighest, photometer::DWORD dwUnit,
                       const std::string& help);

}  // namespace host
