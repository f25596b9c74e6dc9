/// Manual pages of the program and its commands, out of the table of commands and their options.
#pragma once

#include <string>

#include "Commands.h"

namespace host {

/// "photometer-check-wavelength".
std::string ManualPageName(const CommandEntry& entry);

/// The page photometer(1) for man, in UTF-8.
std::string ProgramManualPage();
/// The page of a command.
std::string CommandManualPage(const CommandEntry& entry);

/// Writes all pages into a folder, which is made if it is missing, as `photometer-scan.1`. Returns what went wrong.
std::string WriteManualPages(const std::string& folder);

}  // namespace host
