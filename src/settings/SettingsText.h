/// The text of the settings file: its lines, and the record that they make. Plain functions over the table of keys, for
/// any thread; photometer/Settings.h describes the form.
#pragma once

#include <string>
#include <string_view>

#include "photometer/Settings.h"
#include "settings/SettingsKeys.h"

namespace photometer {

/// Bytes of a line that count, its end apart.
inline constexpr std::size_t SettingsLineLimit = 511;

/// A line as reading takes it. The views are parts of the text that it was taken from.
struct SettingsLine {
  /// Without "=" the whole line, and `bPair` is false.
  std::string_view name;
  std::string_view value;
  bool bPair = false;
  /// The value goes on beyond what counts of the line, in the middle of an entry if it is a list.
  bool bCut = false;
};

/// Takes the next line from the text.
SettingsLine TakeSettingsLine(std::string_view* pText);

/// Null when there is no key of that name.
const SettingsKey* FindSettingsKey(std::string_view name);

/// Stores the line's value in the key's field. True when `Zeros` were merged instead of replaced.
bool ReadSettingsValue(const SettingsKey& key, const SettingsLine& line, InstrumentSettings* pSettings);

/// Reads all lines into the record. True when there were as many lines of counted keys as there are such keys.
/// `pbZerosChanged` becomes true when `Zeros` were merged, and is left alone otherwise.
bool ReadSettingsText(std::string_view text, InstrumentSettings* pSettings, bool* pbZerosChanged);

/// The value of a key as the file has it, cut to what a reader takes of its line: a list after a whole entry.
std::string FormatSettingsValue(const SettingsKey& key, const InstrumentSettings& settings);

/// The whole file.
std::string FormatSettingsText(const InstrumentSettings& settings);

}  // namespace photometer
