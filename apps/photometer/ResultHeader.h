/// What every result tells about its run, in a CSV and a JSON form. docs/results.md describes both for their readers.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include <nlohmann/json.hpp>

#include "photometer/Types.h"

namespace host {

inline constexpr const char* SchemaName = "photometer-result";
/// Raised when a reader of the old form would misunderstand the new one.
inline constexpr int SchemaVersion = 1;
/// `strOutcome` of a run that reached its end.
inline constexpr const char* OutcomeFinished = "finished";

struct ResultHeader {
  /// The command: "scan".
  std::string strKind;
  /// "finished", "cancelled", or what went wrong.
  std::string strOutcome;
  std::optional<photometer::LONG> error;
  /// "simulated", or the board file.
  std::string strInstrument;
  std::string strFirmware;
  /// Paths of the settings file and the host file; empty without one.
  std::string strSettingsFile;
  std::string strHostFile;
  /// Start of the run by the board's clock, local time: 2026-11-24T14:25:21.
  std::string strTime;
  std::string strSample;
  /// What absorbances refer to; empty when there are none.
  std::string strReference;
  /// What the run was asked to do.
  std::vector<std::pair<std::string, std::string>> settings;
};

/// Lines "# name: value", each ended.
std::string CsvHeader(const ResultHeader& header);

/// An object that the results are added to.
nlohmann::ordered_json JsonHeader(const ResultHeader& header);

/// Text of a JSON document. What is not UTF-8 (a damaged firmware text) is replaced: output must not fail for it.
std::string JsonText(const nlohmann::ordered_json& json);

/// Null for nothing.
template <typename Value>
nlohmann::ordered_json OrNull(const std::optional<Value>& value) {
  return value ? nlohmann::ordered_json(*value) : nlohmann::ordered_json(nullptr);
}

/// A text as a CSV field, in quotes unless it is empty.
std::string QuotedForCsv(const std::string& text);

}  // namespace host
