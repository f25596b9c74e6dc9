#include "SettingsCommand.h"

#include <algorithm>
#include <optional>
#include <utility>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "ByteText.h"
#include "InputFile.h"
#include "ListingFormat.h"
#include "OutputFile.h"
#include "ReadableText.h"
#include "SettingsMeaning.h"
#include "SettingsReport.h"
#include "Suggestion.h"
#include "platform/Platform.h"

namespace host {

namespace {

using photometer::InstrumentSettings;
using photometer::SettingsKey;
using photometer::SettingsLine;

ExitCode Complain(Console& console, const std::string& text) {
  console.messages << "photometer: " << Harmless(text) << "\n";
  return ExitCode::BadInput;
}

/// The file of the place; nothing after a message why there is none.
std::optional<SettingsFile> LoadFrom(SettingsPlace& place, Console& console) {
  std::string complaint;
  const std::string path = place.Find(complaint);
  if (!complaint.empty()) {
    Complain(console, complaint);
    return std::nullopt;
  }
  auto loaded = SettingsFile::Load(path);
  if (const auto* pComplaint = std::get_if<std::string>(&loaded)) {
    Complain(console, *pComplaint + "; \"photometer settings init\" makes a new one");
    return std::nullopt;
  }
  return std::get<SettingsFile>(std::move(loaded));
}

void PointToCheck(const SettingsFile& file, Console& console) {
  if (HasFaults(file)) {
    console.messages << fmt::format("something is wrong in it: see \"photometer settings check {}\"\n", file.Path());
  }
}

/// The value in the form and with the bytes of the file. Throws `CLI::ValidationError` for one that the key cannot
/// have.
std::string ValueForFile(const SettingsKey& key, const std::string& text) {
  const std::u16string wide = photometer::platform::FromUtf8(text);
  const std::string bytes = photometer::platform::WideCharToMultiByte(wide);
  const auto fail = [&key](const std::string& complaint) {
    throw CLI::ValidationError(fmt::format("key \"{}\": {}", key.name, complaint));
  };
  if (photometer::platform::MultiByteToWideChar(bytes) != wide) {
    fail("the text has a character that the instrument's code page (Windows-1252) lacks; write it in another way");
  }
  if (bytes.find_first_of(std::string_view("\r\n\0", 3)) != std::string::npos) {
    fail("the text goes over more than one line; write it on one");
  }
  const SettingsLine line{key.name, bytes, true, key.name.size() + 1 + bytes.size() > photometer::SettingsLineLimit};
  if (const std::string complaint = ComplainAboutValue(key, line); !complaint.empty()) {
    fail(complaint);
  }
  InstrumentSettings settings;
  SettingsKey replaced = key;
  if (const auto* pList = std::get_if<photometer::ListField>(&key.field)) {
    replaced.field = photometer::ListField{pList->pField, photometer::ListRule::Replace};
  }
  photometer::ReadSettingsValue(replaced, line, &settings);
  return photometer::FormatSettingsValue(key, settings);
}

/// The file's text with another value in the line, or with a line more when the number is 0.
std::string WithValue(const std::string& text, int iLine, const SettingsKey& key, const std::string& value) {
  const std::string lineEnd = text.find("\r\n") != std::string::npos ? "\r\n" : "\n";
  const std::string line = std::string(key.name) + "=" + value;
  if (iLine == 0) {
    return text + (text.empty() || text.ends_with('\n') ? "" : lineEnd) + line + lineEnd;
  }
  std::size_t nStart = 0;
  for (int i = 1; i < iLine; ++i) {
    nStart = text.find('\n', nStart) + 1;
  }
  const std::size_t nEnd = std::min(text.find('\n', nStart), text.size());
  const bool bReturn = nEnd > nStart && text[nEnd - 1] == '\r';
  return text.substr(0, nStart) + line + text.substr(bReturn ? nEnd - 1 : nEnd);
}

}  // namespace

// ---- which file ----

void SettingsPlace::AddTo(CLI::App& app) {
  app.add_option("--settings", m_strFile, "The settings file (else the one of the instrument's folder)")
      ->type_name("FILE");
  m_folder.AddTo(app);
}

void SettingsPlace::Check(const std::string& word) {
  if (!word.empty() && !m_strFile.empty()) {
    throw CLI::ValidationError("--settings", fmt::format("does not go with \"{}\"; name one file", word));
  }
  m_strFile = word.empty() ? m_strFile : word;
  m_folder.Check();
}

std::string SettingsPlace::Find(std::string& complaint) {
  if (!m_strFile.empty()) {
    return m_strFile;
  }
  complaint = m_folder.Find();
  if (!complaint.empty()) {
    complaint += "; or name the settings file";
  }
  return m_folder.SettingsPath();
}

// ---- show ----

void SettingsShowCommand::AddOptions(CLI::App& app) {
  m_arguments.Add(app, "FILE", "The settings file", Presence::Optional);
  m_place.AddTo(app);
  AddListingFormat(app, m_bJson);
}

void SettingsShowCommand::Check() {
  m_arguments.Check();
  m_place.Check(m_arguments.At(0));
}

ExitCode SettingsShowCommand::Run(Console& console) {
  const std::optional<SettingsFile> file = LoadFrom(m_place, console);
  if (!file) {
    return ExitCode::BadInput;
  }
  console.results << (m_bJson ? FormatSettingsJson(*file) : FormatSettingsTable(*file));
  PointToCheck(*file, console);
  return ExitCode::Success;
}

// ---- init ----

void SettingsInitCommand::AddOptions(CLI::App& app) {
  m_arguments.Add(app, "FILE", "The settings file", Presence::Optional);
  m_place.AddTo(app);
  app.add_flag("--force", m_bForce, "Replace a file that is there already");
}

void SettingsInitCommand::Check() {
  m_arguments.Check();
  m_place.Check(m_arguments.At(0));
}

ExitCode SettingsInitCommand::Run(Console& console) {
  std::string complaint;
  const std::string path = m_place.Find(complaint);
  if (complaint.empty()) {
    complaint = ComplainAboutOutput(path, m_bForce);
  }
  if (!complaint.empty()) {
    return Complain(console, complaint);
  }
  InstrumentSettings settings;
  photometer::SetDefaultSettings(&settings);
  complaint = WriteOutput(path, photometer::FormatSettingsText(settings), m_bForce);
  if (!complaint.empty()) {
    Complain(console, complaint);
    return ExitCode::OutputFailed;
  }
  console.messages << fmt::format(
      "{}: written with the delivery values; the coefficients F0 to F3 and FA to FD are those of no instrument yet\n",
      path);
  return ExitCode::Success;
}

// ---- set ----

void SettingsSetCommand::AddOptions(CLI::App& app) {
  m_arguments.Add(app, "KEY", "Key of the file, as Peak1");
  m_arguments.Add(app, "VALUE", "Its new value, in the form of the file");
  m_place.AddTo(app);
}

void SettingsSetCommand::Check() {
  m_arguments.Check();
  m_place.Check({});
  const std::string name = m_arguments.At(0);
  m_pKey = photometer::FindSettingsKey(name);
  if (m_pKey == nullptr) {
    const std::string nearest = Nearest(name, SettingsKeyNames());
    throw CLI::ValidationError(
        fmt::format("there is no key \"{}\"; {}", name,
                    nearest.empty() ? "\"photometer settings show\" lists them" : "did you mean \"" + nearest + "\"?"));
  }
  m_strValue = ValueForFile(*m_pKey, m_arguments.At(1));
}

ExitCode SettingsSetCommand::Run(Console& console) {
  std::string complaint;
  const std::string path = m_place.Find(complaint);
  const InputText input = complaint.empty() ? LoadInput(path, SettingsFileLimit) : InputText{{}, complaint};
  if (!input.complaint.empty()) {
    return Complain(console, input.complaint + "; \"photometer settings init\" makes a new one");
  }
  const SettingsFile before = SettingsFile::Parse(path, input.text);
  if (before.IsDoubled(m_pKey->name)) {
    return Complain(console, before.Message(*before.Fault(m_pKey->name)));
  }
  const std::string text = WithValue(input.text, before.LineOf(m_pKey->name), *m_pKey, m_strValue);
  if (complaint = WriteOutput(path, text, true); !complaint.empty()) {
    Complain(console, complaint);
    return ExitCode::OutputFailed;
  }
  const SettingsFile after = SettingsFile::Parse(path, text);
  console.messages << fmt::format("{}:{}: {}={}\n", path, after.LineOf(m_pKey->name), m_pKey->name, Shown(m_strValue));
  PointToCheck(after, console);
  return ExitCode::Success;
}

// ---- check ----

void SettingsCheckCommand::AddOptions(CLI::App& app) {
  m_arguments.Add(app, "FILE", "The settings file", Presence::Optional);
  m_place.AddTo(app);
  AddListingFormat(app, m_bJson);
}

void SettingsCheckCommand::Check() {
  m_arguments.Check();
  m_place.Check(m_arguments.At(0));
}

ExitCode SettingsCheckCommand::Run(Console& console) {
  const std::optional<SettingsFile> file = LoadFrom(m_place, console);
  if (!file) {
    return ExitCode::BadInput;
  }
  console.results << (m_bJson ? FormatSettingsJson(*file) : FormatFindings(*file));
  return HasFaults(*file) ? ExitCode::CheckFailed : ExitCode::Success;
}

}  // namespace host
