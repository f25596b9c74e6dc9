#include "SettingsReport.h"

#include <algorithm>
#include <variant>

#include <fmt/format.h>

#include "ReadableText.h"
#include "ResultHeader.h"
#include "SettingsMeaning.h"
#include "platform/Platform.h"

namespace host {

namespace {

using nlohmann::ordered_json;
using photometer::InstrumentSettings;
using photometer::PointList;
using photometer::SettingsKey;

constexpr const char* SettingsSchema = "photometer-settings";
constexpr int SettingsSchemaVersion = 1;
constexpr std::size_t PointsOfALine = 6;

std::string Utf8(std::u16string_view text) { return photometer::platform::ToUtf8(text); }

std::string TimeText(const photometer::SettingsDateTime& time, char separator) {
  return fmt::format("{:04}-{:02}-{:02}{}{:02}:{:02}", time.wYear, time.wMonth, time.wDay, separator, time.wHour,
                     time.wMinute);
}

/// A value in few words.
struct ValueText {
  const InstrumentSettings& settings;
  const SettingsKey& whole;

  std::string operator()(const photometer::TextField& key) const {
    return Readable(photometer::platform::WideCharToMultiByte(settings.*key.pField));
  }
  std::string operator()(const photometer::DateTimeField& key) const { return TimeText(settings.*key.pField, ' '); }
  std::string operator()(const photometer::ListField& key) const {
    const std::size_t nPoints = (settings.*key.pField).size();
    return nPoints == 0 ? "no points" : fmt::format("{} point{}", nPoints, nPoints == 1 ? "" : "s");
  }
  template <typename Field>
  std::string operator()(const Field&) const {
    return photometer::FormatSettingsValue(whole, settings);
  }
};

struct ValueJson {
  const InstrumentSettings& settings;

  ordered_json operator()(const photometer::IntegerField& key) const { return settings.*key.pField; }
  ordered_json operator()(const photometer::RealField& key) const { return settings.*key.pField; }
  ordered_json operator()(const photometer::FlagField& key) const { return settings.*key.pField != 0; }
  ordered_json operator()(const photometer::TextField& key) const { return Utf8(settings.*key.pField); }
  ordered_json operator()(const photometer::DateTimeField& key) const { return TimeText(settings.*key.pField, 'T'); }
  ordered_json operator()(const photometer::ListField& key) const {
    ordered_json list = ordered_json::array();
    for (const photometer::PointListEntry& point : settings.*key.pField) {
      list.push_back({{"wavelength", point.dWavelength}, {"value", point.dValue}});
    }
    return list;
  }
};

std::string PointLines(const PointList& list) {
  std::string text;
  for (std::size_t i = 0; i < list.size(); ++i) {
    text += i % PointsOfALine == 0 ? "    " : "   ";
    text += fmt::format("{:.1f} {:.3f}", list[i].dWavelength, list[i].dValue);
    text += i % PointsOfALine == PointsOfALine - 1 || i + 1 == list.size() ? "\n" : "";
  }
  return text;
}

ordered_json ToJson(const SettingsFinding& finding) {
  return {{"line", finding.iLine == 0 ? ordered_json(nullptr) : ordered_json(finding.iLine)},
          {"key", finding.strKey},
          {"note", finding.bNote},
          {"text", finding.strText}};
}

}  // namespace

bool HasFaults(const SettingsFile& file) {
  return std::any_of(file.Findings().begin(), file.Findings().end(),
                     [](const SettingsFinding& finding) { return !finding.bNote; });
}

std::string FormatSettingsTable(const SettingsFile& file) {
  std::string table = fmt::format("{}\n", file.Path());
  for (const SettingsKey& key : photometer::SettingsKeys()) {
    const bool bThere = file.LineOf(key.name) > 0;
    const std::string value = bThere ? std::visit(ValueText{file.Settings(), key}, key.field) : "(missing)";
    table += fmt::format("  {:<28} {:<28} {}\n", key.name, value, MeaningOf(key).words);
    if (const auto* pList = std::get_if<photometer::ListField>(&key.field); pList != nullptr && bThere) {
      table += PointLines(file.Settings().*pList->pField);
    }
  }
  return table;
}

std::string FormatSettingsJson(const SettingsFile& file) {
  ordered_json settings = ordered_json::object();
  for (const SettingsKey& key : photometer::SettingsKeys()) {
    if (file.LineOf(key.name) > 0) {
      settings[std::string(key.name)] = std::visit(ValueJson{file.Settings()}, key.field);
    }
  }
  ordered_json findings = ordered_json::array();
  for (const SettingsFinding& finding : file.Findings()) {
    findings.push_back(ToJson(finding));
  }
  return JsonText({{"schema", SettingsSchema},
                   {"version", SettingsSchemaVersion},
                   {"file", file.Path()},
                   {"complete", !HasFaults(file)},
                   {"settings", std::move(settings)},
                   {"findings", std::move(findings)}});
}

std::string FormatFindings(const SettingsFile& file) {
  std::string text;
  std::size_t nNotes = 0;
  for (const SettingsFinding& finding : file.Findings()) {
    text += fmt::format("{}{}\n", file.Message(finding), finding.bNote ? " (note)" : "");
    nNotes += finding.bNote ? 1 : 0;
  }
  const std::size_t nFaults = file.Findings().size() - nNotes;
  return text + fmt::format("{}: {} fault{}, {} note{}\n", file.Path(), nFaults, nFaults == 1 ? "" : "s", nNotes,
                            nNotes == 1 ? "" : "s");
}

}  // namespace host
