#include "SettingsFile.h"

#include <algorithm>
#include <array>
#include <utility>

#include <fmt/format.h>

#include "InputFile.h"
#include "ReadableText.h"
#include "SettingsMeaning.h"
#include "Suggestion.h"
#include "settings/SettingsText.h"

namespace host {

namespace {

using photometer::InstrumentSettings;
using photometer::LONG;
using photometer::SettingsKey;

constexpr std::string_view ByteOrderMark = "\xEF\xBB\xBF";
/// A file that is none of settings would have as many findings as lines.
constexpr std::size_t FindingLimit = 200;

/// A pair of keys of which the first must be below the second.
struct Order {
  std::string_view lower;
  LONG InstrumentSettings::*pLower;
  std::string_view upper;
  LONG InstrumentSettings::*pUpper;
};

constexpr std::array Orders = {
    Order{"LowerFilterWL", &InstrumentSettings::LowerFilterWL, "MiddleFilterWL", &InstrumentSettings::MiddleFilterWL},
    Order{"MiddleFilterWL", &InstrumentSettings::MiddleFilterWL, "UpperFilterWL", &InstrumentSettings::UpperFilterWL},
    Order{"RefMinWL", &InstrumentSettings::RefMinWL, "RefMaxWL", &InstrumentSettings::RefMaxWL},
    Order{"HalogenMin", &InstrumentSettings::HalogenMin, "HalogenMax", &InstrumentSettings::HalogenMax},
    Order{"UVMin", &InstrumentSettings::UVMin, "UVMax", &InstrumentSettings::UVMax},
    Order{"HalogenMin", &InstrumentSettings::HalogenMin, "UVMax", &InstrumentSettings::UVMax},
};

std::string LineOnDelivery(const SettingsKey& key, const InstrumentSettings& delivery) {
  const std::string value = photometer::FormatSettingsValue(key, delivery);
  // A list of 24 entries tells nobody anything here.
  return std::string(key.name) + "=" + (value.size() > 40 ? "..." : value);
}

std::string Suggest(std::string_view name) {
  const std::string nearest = Nearest(name.substr(0, 64), SettingsKeyNames());
  return nearest.empty() ? "check its spelling, also upper and lower case, or remove the line"
                         : fmt::format("did you mean \"{}\"?", nearest);
}

}  // namespace

std::vector<std::string> SettingsKeyNames() {
  std::vector<std::string> names;
  for (const SettingsKey& key : photometer::SettingsKeys()) {
    names.emplace_back(key.name);
  }
  return names;
}

std::variant<SettingsFile, std::string> SettingsFile::Load(const std::string& path) {
  InputText input = LoadInput(path, SettingsFileLimit);
  if (!input.complaint.empty()) {
    return std::move(input.complaint);
  }
  return Parse(path, input.text);
}

SettingsFile SettingsFile::Parse(const std::string& path, std::string_view text) {
  SettingsFile file;
  file.m_strPath = path;
  photometer::SetDefaultSettings(&file.m_settings);
  if (text.starts_with(ByteOrderMark)) {
    file.Add(1, {}, "begins with a byte order mark, which hides the first key; save the file as Windows-1252 (ANSI)");
  }
  for (int iLine = 1; !text.empty(); ++iLine) {
    const std::string_view raw = text.substr(0, text.find('\n'));
    text.remove_prefix(std::min(raw.size() + 1, text.size()));
    file.ReadLine(raw, iLine);
  }
  file.FindMissing();
  file.FindContradictions();
  return file;
}

void SettingsFile::ReadLine(std::string_view raw, int iLine) {
  std::string_view rest = raw;
  const photometer::SettingsLine line = photometer::TakeSettingsLine(&rest);
  if (raw.find('\0') != std::string_view::npos) {
    Add(iLine, {}, "has a zero byte, behind which nothing counts; write the line anew");
  }
  if (!line.bPair) {
    if (raw.find_first_not_of(" \t\r") != std::string_view::npos) {
      Add(iLine, {}, fmt::format("\"{}\" has no \"=\" and is ignored; write key=value, or remove it", Shown(raw)),
          true);
    }
    return;
  }
  if (const SettingsKey* pKey = photometer::FindSettingsKey(line.name)) {
    ReadKey(*pKey, raw, iLine);
    return;
  }
  if (line.name.empty()) {
    Add(iLine, {}, "has no key before the \"=\" and is ignored; write key=value, or remove it", true);
  } else if (!IsFull()) {
    Add(iLine, Shown(line.name), "is not known and is ignored; " + Suggest(line.name), true);
  }
}

void SettingsFile::ReadKey(const SettingsKey& key, std::string_view raw, int iLine) {
  const photometer::SettingsLine line = photometer::TakeSettingsLine(&raw);
  const auto [before, bNew] = m_lines.emplace(key.name, iLine);
  if (!bNew) {
    Add(iLine, key.name, fmt::format("is there already in line {}; remove one of them", before->second), !key.bCounted);
    before->second = iLine;
    if (key.bCounted) {
      m_doubled.emplace(key.name);
    }
  }
  if (const std::string complaint = ComplainAboutValue(key, line); !complaint.empty()) {
    Add(iLine, key.name, complaint);
  }
  const auto* pList = std::get_if<photometer::ListField>(&key.field);
  if (pList == nullptr) {
    photometer::ReadSettingsValue(key, line, &m_settings);
    return;
  }
  // Merging into the delivery list would hide what the file has.
  SettingsKey replaced = key;
  replaced.field = photometer::ListField{pList->pField, photometer::ListRule::Replace};
  photometer::ReadSettingsValue(replaced, line, &m_settings);
  const std::size_t nOnDelivery = photometer::DefaultListWavelengths().size();
  const std::size_t nEntries = (m_settings.*pList->pField).size();
  if (pList->rule != photometer::ListRule::Replace && nEntries != nOnDelivery) {
    Add(iLine, key.name,
        fmt::format("is a list of {}, the instrument's own of {}: it takes only the values of its own wavelengths",
                    nEntries, nOnDelivery),
        true);
  }
}

void SettingsFile::FindMissing() {
  InstrumentSettings delivery;
  photometer::SetDefaultSettings(&delivery);
  for (const SettingsKey& key : photometer::SettingsKeys()) {
    if (LineOf(key.name) == 0) {
      Add(0, key.name, fmt::format("is missing; add a line {}", LineOnDelivery(key, delivery)), !key.bCounted);
    }
  }
}

void SettingsFile::FindContradictions() {
  for (const Order& order : Orders) {
    const bool bKnown = LineOf(order.lower) > 0 && LineOf(order.upper) > 0;
    if (bKnown && m_settings.*order.pLower >= m_settings.*order.pUpper) {
      Add(LineOf(order.lower), order.lower,
          fmt::format("{} is not below {} of {} in line {}; correct one of them", m_settings.*order.pLower,
                      m_settings.*order.pUpper, order.upper, LineOf(order.upper)));
    }
  }
}

void SettingsFile::Add(int iLine, std::string_view key, const std::string& text, bool bNote) {
  if (iLine > 0 && IsFull()) {
    return;
  }
  m_findings.push_back({iLine, std::string(key), text, bNote});
  if (iLine > 0 && IsFull()) {
    m_findings.push_back({iLine, {}, "what follows is too much to tell; check that it is a settings file", true});
  }
}

bool SettingsFile::IsFull() const { return m_findings.size() >= FindingLimit; }

int SettingsFile::LineOf(std::string_view key) const {
  const auto found = m_lines.find(key);
  return found == m_lines.end() ? 0 : found->second;
}

const SettingsFinding* SettingsFile::Fault(std::string_view key) const {
  const auto found = std::find_if(m_findings.begin(), m_findings.end(), [key](const SettingsFinding& finding) {
    return finding.strKey == key && !finding.bNote;
  });
  return found == m_findings.end() ? nullptr : &*found;
}

std::string SettingsFile::Message(const SettingsFinding& finding) const {
  std::string text = m_strPath;
  if (finding.iLine > 0) {
    text += fmt::format(":{}", finding.iLine);
  }
  text += ": ";
  if (!finding.strKey.empty()) {
    text += fmt::format("key \"{}\": ", finding.strKey);
  }
  return text + finding.strText;
}

}  // namespace host
