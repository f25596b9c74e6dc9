/// The keys of the settings file: one table that reading, writing and the delivery values go by.
#pragma once

#include <span>
#include <string_view>
#include <variant>

#include "photometer/Settings.h"

namespace photometer {

struct IntegerField {
  LONG InstrumentSettings::*pField;
  LONG iDefault;
  /// Reading stores this for anything above it, compared without sign.
  DWORD dwLimit = 0xFFFFFFFFU;
};

struct RealField {
  double InstrumentSettings::*pField;
  double dDefault;
  int iDecimals;
};

/// "true" or "false".
struct FlagField {
  BOOL InstrumentSettings::*pField;
  BOOL bDefault;
};

struct TextField {
  std::u16string InstrumentSettings::*pField;
  std::u16string_view defaultText;
};

struct DateTimeField {
  SettingsDateTime InstrumentSettings::*pField;
  SettingsDateTime defaultTime;
};

/// How the list of a file gets into the record.
enum class ListRule {
  /// It replaces the record's; empty on delivery.
  Replace,
  /// It replaces a list of its length and updates any other; the calibration wavelengths on delivery.
  Merge,
  /// As `Merge`, and an update is reported to the caller.
  MergeAndReport
};

struct ListField {
  PointList InstrumentSettings::*pField;
  ListRule rule;
};

struct SettingsKey {
  std::string_view name;
  std::variant<IntegerField, RealField, FlagField, TextField, DateTimeField, ListField> field;
  /// A complete file has each counted key once.
  bool bCounted = true;
};

/// All keys, in the order of the file.
std::span<const SettingsKey> SettingsKeys();

/// The wavelengths of the merged lists on delivery, nm.
std::span<const int> DefaultListWavelengths();

}  // namespace photometer
