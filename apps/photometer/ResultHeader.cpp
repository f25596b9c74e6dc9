#include "ResultHeader.h"

#include <algorithm>

#include <fmt/format.h>

namespace host {

namespace {

/// A value must not begin a line of its own.
std::string OneLine(std::string text) {
  std::replace_if(
      text.begin(), text.end(), [](char character) { return static_cast<unsigned char>(character) < ' '; }, ' ');
  return text;
}

}  // namespace

std::string CsvHeader(const ResultHeader& header) {
  std::string lines;
  const auto add = [&lines](const std::string& name, const std::string& value) {
    lines += fmt::format("# {}: {}\n", name, OneLine(value));
  };
  add("schema", fmt::format("{} {}", SchemaName, SchemaVersion));
  add("kind", header.strKind);
  add("outcome", header.strOutcome);
  add("error", header.error ? fmt::format("{}", *header.error) : "");
  add("instrument", header.strInstrument);
  add("firmware", header.strFirmware);
  add("settings_file", header.strSettingsFile);
  add("host_file", header.strHostFile);
  add("time", header.strTime);
  add("sample", header.strSample);
  add("reference", header.strReference);
  for (const auto& [name, value] : header.settings) {
    add("setting " + name, value);
  }
  return lines;
}

nlohmann::ordered_json JsonHeader(const ResultHeader& header) {
  nlohmann::ordered_json settings = nlohmann::ordered_json::object();
  for (const auto& [name, value] : header.settings) {
    settings[name] = value;
  }
  return {{"schema", SchemaName},
          {"version", SchemaVersion},
          {"kind", header.strKind},
          {"outcome", header.strOutcome},
          {"error", OrNull(header.error)},
          {"instrument", header.strInstrument},
          {"firmware", header.strFirmware},
          {"settings_file", header.strSettingsFile},
          {"host_file", header.strHostFile},
          {"time", header.strTime},
          {"sample", header.strSample},
          {"reference", header.strReference},
          {"settings", settings}};
}

std::string JsonText(const nlohmann::ordered_json& json) {
  return json.dump(2, ' ', false, nlohmann::ordered_json::error_handler_t::replace) + "\n";
}

std::string QuotedForCsv(const std::string& text) {
  std::string quoted = "\"";
  for (const char character : text) {
    quoted += character == '"' ? "\"\"" : std::string(1, character);
  }
  return text.empty() ? text : quoted + "\"";
}

}  // namespace host
