/// What the keys of the settings file mean, for people, and which values make sense.
#pragma once

#include <string>
#include <string_view>

#include "settings/SettingsKeys.h"
#include "settings/SettingsText.h"

namespace host {

struct SettingsMeaning {
  std::string_view key;
  std::string_view words;
  /// Of integers and reals, and of a list's wavelengths.
  double dLowest;
  double dHighest;
};

/// The meaning of a key of the file.
const SettingsMeaning& MeaningOf(const photometer::SettingsKey& key);

/// What is wrong with a value as it stands in the file, and what to do; empty when nothing is.
std::string ComplainAboutValue(const photometer::SettingsKey& key, const photometer::SettingsLine& line);

}  // namespace host
