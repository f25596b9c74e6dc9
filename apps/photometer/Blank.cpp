#include "Blank.h"

#include <cmath>
#include <sstream>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

#include "InputFile.h"
#include "ReadableText.h"
#include "ResultHeader.h"
#include "WavelengthList.h"

namespace host {

namespace {

// nm; positions are about 0.08 nm apart.
constexpr double HalfStep = 0.04;
// A fine scan of the whole range as JSON has 3 MB.
constexpr std::size_t GreatestFile = 64U << 20;

constexpr const char* WhatToDo = "give a CSV or JSON file that \"--output\" wrote";

std::vector<std::string> SplitAtCommas(const std::string& line) {
  std::vector<std::string> fields;
  std::string field;
  bool bQuoted = false;
  for (const char character : line) {
    bQuoted = bQuoted != (character == '"');
    if (character == ',' && !bQuoted) {
      fields.push_back(std::move(field));
      field.clear();
    } else {
      field += character;
    }
  }
  fields.push_back(std::move(field));
  return fields;
}

}  // namespace

/// Takes the same things out of both forms.
struct Blank::Builder {
  Blank blank;
  std::string strSchema;
  std::string strOutcome;
  struct Sum {
    DetectorPair pair;
    double dCount = 0;
  };
  std::map<double, Sum> sums;

  void TakeHeader(const std::string& name, const std::string& value) {
    constexpr std::string_view Setting = "setting ";
    if (name == "schema") {
      strSchema = value;
    } else if (name == "outcome") {
      strOutcome = value;
    } else if (name == "kind") {
      blank.m_strKind = value;
    } else if (name == "time") {
      blank.m_strTime = value;
    } else if (name.starts_with(Setting)) {
      blank.m_settings[name.substr(Setting.size())] = value;
    }
  }

  void TakeReading(double dWavelength, double dSample, double dReference) {
    Sum& sum = sums[dWavelength];
    sum.pair.dSample += dSample;
    sum.pair.dReference += dReference;
    sum.dCount += 1;
  }

  std::string TakeCsv(std::string_view contents);
  std::string TakeCsvRow(const std::vector<std::string>& names, const std::string& line);
  std::string TakeJson(std::string_view contents);
  std::string Finish();
};

std::string Blank::Builder::TakeCsv(std::string_view contents) {
  std::istringstream lines{std::string(contents)};
  std::vector<std::string> names;
  std::string line;
  for (int iLine = 1; std::getline(lines, line); ++iLine) {
    if (line.ends_with('\r')) {
      line.pop_back();
    }
    if (const std::size_t nColon = line.find(": "); line.starts_with("# ") && nColon != std::string::npos) {
      TakeHeader(line.substr(2, nColon - 2), line.substr(nColon + 2));
    } else if (names.empty()) {
      names = SplitAtCommas(line);
    } else if (const std::string complaint = TakeCsvRow(names, line); !complaint.empty()) {
      return fmt::format("line {}: {}", iLine, complaint);
    }
  }
  return {};
}

std::string Blank::Builder::TakeCsvRow(const std::vector<std::string>& names, const std::string& line) {
  const std::vector<std::string> fields = SplitAtCommas(line);
  std::map<std::string, std::optional<double>> values;
  for (std::size_t i = 0; i < std::min(names.size(), fields.size()); ++i) {
    values[names[i]] = ParseReal(fields[i]);
  }
  const auto wavelength = values["wavelength_nm"];
  const auto sample = values["sample"];
  const auto reference = values["reference"];
  if (!wavelength || !sample || !reference) {
    return "wavelength_nm, sample or reference is missing or no number";
  }
  TakeReading(*wavelength, *sample, *reference);
  return {};
}

std::string Blank::Builder::TakeJson(std::string_view contents) {
  const auto json = nlohmann::json::parse(contents);
  TakeHeader("schema", fmt::format("{} {}", json.at("schema").get<std::string>(), json.at("version").get<double>()));
  for (const char* name : {"kind", "outcome", "time"}) {
    TakeHeader(name, json.at(name).get<std::string>());
  }
  for (const auto& [name, value] : json.at("settings").items()) {
    blank.m_settings[name] = value.get<std::string>();
  }
  for (const auto& row : json.value("rows", nlohmann::json::array())) {
    TakeReading(row.at("wavelength_nm"), row.at("sample"), row.at("reference"));
  }
  for (const auto& one : json.value("wavelengths", nlohmann::json::array())) {
    for (const auto& reading : one.at("readings")) {
      TakeReading(one.at("wavelength"), reading.at("sample"), reading.at("reference"));
    }
  }
  return {};
}

std::string Blank::Builder::Finish() {
  if (strSchema != fmt::format("{} {}", SchemaName, SchemaVersion)) {
    return fmt::format("its schema is \"{}\", not \"{} {}\"; {}", Shown(strSchema), SchemaName, SchemaVersion,
                       WhatToDo);
  }
  if (strOutcome != OutcomeFinished) {
    return fmt::format("its run did not finish (\"{}\"); measure the blank again", Shown(strOutcome));
  }
  for (const auto& [dWavelength, sum] : sums) {
    blank.m_values[dWavelength] = {sum.pair.dSample / sum.dCount, sum.pair.dReference / sum.dCount};
  }
  return sums.empty() ? fmt::format("it holds no readings; {}", WhatToDo) : std::string();
}

std::variant<Blank, std::string> Blank::Load(const std::string& path) {
  const InputText input = LoadInput(path, GreatestFile);
  if (!input.complaint.empty()) {
    return input.complaint;
  }
  return Parse(path, input.text);
}

std::variant<Blank, std::string> Blank::Parse(const std::string& path, std::string_view contents) {
  Builder builder;
  builder.blank.m_strPath = path;
  std::string complaint;
  try {
    complaint = contents.starts_with('{') ? builder.TakeJson(contents) : builder.TakeCsv(contents);
  } catch (const nlohmann::json::exception& error) {
    complaint = fmt::format("{}; {}", error.what(), WhatToDo);
  }
  if (complaint.empty() || builder.strSchema.empty()) {
    complaint = builder.Finish();
  }
  if (!complaint.empty()) {
    return fmt::format("{} cannot serve as blank: {}", path, complaint);
  }
  return std::move(builder.blank);
}

std::string Blank::Setting(const std::string& name) const {
  const auto setting = m_settings.find(name);
  return setting == m_settings.end() ? std::string() : setting->second;
}

std::optional<DetectorPair> Blank::At(double dWavelength) const {
  const auto above = m_values.lower_bound(dWavelength);
  auto nearest = above;
  if (above != m_values.begin()) {
    const auto below = std::prev(above);
    if (above == m_values.end() || dWavelength - below->first < above->first - dWavelength) {
      nearest = below;
    }
  }
  if (nearest == m_values.end() || std::abs(nearest->first - dWavelength) >= HalfStep ||
      !(nearest->second.dSample > 0 && nearest->second.dReference > 0)) {
    return std::nullopt;
  }
  return nearest->second;
}

}  // namespace host
