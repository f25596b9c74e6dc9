// Input: a settings file, as the host's commands check and show it.
// Checks: findings name file and line, can be shown, and are bounded; a file without faults is one that the instrument
// takes as complete, and with the same numbers; the table can be made of any file, and the JSON report of one that
// lacks few keys can be read.
#include <algorithm>

#include <nlohmann/json.hpp>

#include "SettingsFile.h"
#include "SettingsReport.h"
#include "settings/SettingsText.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using host::SettingsFile;

/// Those of lines, and one for each key that is missing or contradicts another.
constexpr std::size_t MOST_FINDINGS = 300;
/// A file that lacks most keys has a report of one sentence many times, and making and reading it as JSON takes half of
/// the time.
constexpr std::size_t MOST_FINDINGS_AS_JSON = 20;

void CheckFindings(const SettingsFile& file, int iLines) {
  Require(file.Findings().size() <= MOST_FINDINGS, "findings are bounded");
  for (const host::SettingsFinding& finding : file.Findings()) {
    const std::string message = file.Message(finding);
    Require(finding.iLine >= 0 && finding.iLine <= iLines, "a finding's line is one of the file");
    fuzz::RequireMessage(message, finding.iLine == 0 ? "a.cfg: " : "a.cfg:" + std::to_string(finding.iLine) + ": ");
    fuzz::RequirePrintable(message);
  }
}

void CheckReports(const SettingsFile& file) {
  fuzz::RequirePrintable(host::FormatSettingsTable(file));
  fuzz::RequirePrintable(host::FormatFindings(file));
  if (file.Findings().size() > MOST_FINDINGS_AS_JSON) {
    return;
  }
  const auto json = nlohmann::json::parse(host::FormatSettingsJson(file));
  Require(json.at("complete").get<bool>() == !host::HasFaults(file), "the JSON report says whether it is complete");
  Require(json.at("findings").size() == file.Findings().size(), "the JSON report has all findings");
}

void CheckAgainstInstrument(const SettingsFile& file, std::string_view text) {
  photometer::InstrumentSettings settings;
  photometer::SetDefaultSettings(&settings);
  bool bZerosChanged = false;
  const bool bComplete = photometer::ReadSettingsText(text, &settings, &bZerosChanged);
  Require(bComplete || host::HasFaults(file), "what the instrument refuses has a fault");
  Require(settings.Peak1 == file.Settings().Peak1 && settings.HalogenMax == file.Settings().HalogenMax &&
              settings.SN == file.Settings().SN && settings.TurbCalHigh.size() == file.Settings().TurbCalHigh.size(),
          "the instrument's values");
}

void Check(std::string_view input) {
  const SettingsFile file = SettingsFile::Parse("a.cfg", input);
  CheckFindings(file, static_cast<int>(std::ranges::count(input, '\n')) + 1);
  CheckReports(file);
  CheckAgainstInstrument(file, input);
}

const fuzz::Target target("SettingsCheck", Check);

}  // namespace
