/// A settings file as text: for people, and as JSON.
#pragma once

#include <string>

#include "SettingsFile.h"

namespace host {

/// A line for each key, ended: name, value, meaning. Lists follow in lines of their own.
std::string FormatSettingsTable(const SettingsFile& file);

/// An object with `schema`, `version`, `file`, `complete` (nothing is wrong, notes apart), `settings` (a member of each
/// key that the file has: number, boolean, text, time as 2000-01-01T12:00, list of `wavelength` and `value`) and
/// `findings`.
std::string FormatSettingsJson(const SettingsFile& file);

/// A line for each finding, ended, and one that counts them.
std::string FormatFindings(const SettingsFile& file);

/// True when something is wrong beyond notes.
bool HasFaults(const SettingsFile& file);

}  // namespace host
