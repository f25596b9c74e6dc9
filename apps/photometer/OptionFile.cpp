#include "OptionFile.h"

#include <algorithm>
#include <filesystem>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "InputFile.h"
#include "Suggestion.h"
#include "platform/posix/TomlLine.h"

namespace host {

namespace {

using photometer::platform::TomlLine;

constexpr std::size_t FileLimit = 65536;
/// A path: a relative one is taken from the host file's folder.
constexpr const char* PathKey = "settings";

bool IsInGroups(const CLI::Option& option, const std::vector<std::string>& groups) {
  return std::find(groups.begin(), groups.end(), option.get_group()) != groups.end();
}

std::vector<std::string> NamesOf(CLI::App& app, const std::vector<std::string>& groups) {
  std::vector<std::string> names;
  for (const CLI::Option* pOption : app.get_options()) {
    if (IsInGroups(*pOption, groups)) {
      names.push_back(pOption->get_lnames().front());
    }
  }
  return names;
}

/// What an option said, without its own name before it.
std::string WithoutName(const std::string& text, const std::string& name) {
  return text.starts_with(name + ": ") ? text.substr(name.size() + 2) : text;
}

}  // namespace

void OptionFile::Load(const std::string& path) {
  const InputText input = LoadInput(path, FileLimit);
  if (!input.complaint.empty()) {
    throw CLI::ValidationError("--host-file", input.complaint);
  }
  Parse(path, input.text);
}

void OptionFile::Parse(const std::string& path, std::string_view text) {
  m_strPath = path;
  for (int iLine = 1; !text.empty(); ++iLine) {
    const std::size_t nEnd = std::min(text.find('\n'), text.size());
    ReadLine(text.substr(0, nEnd), iLine);
    text.remove_prefix(std::min(nEnd + 1, text.size()));
  }
}

std::string OptionFile::Place(int iLine) const { return fmt::format("{}:{}: ", m_strPath, iLine); }

void OptionFile::ReadLine(std::string_view text, int iLine) {
  TomlLine line = TomlLine::Parse(text);
  switch (line.kind) {
    case TomlLine::Kind::Nothing:
      return;
    case TomlLine::Kind::Text:
    case TomlLine::Kind::Bare:
      break;
    case TomlLine::Kind::Section:
      throw CLI::ValidationError(Place(iLine) + "a host file has no sections; remove the line");
    case TomlLine::Kind::List:
      throw CLI::ValidationError(
          fmt::format("{}key \"{}\": must be one value; write a list as \"345,436.5\"", Place(iLine), line.name));
    case TomlLine::Kind::Wrong:
      throw CLI::ValidationError(Place(iLine) + (line.name.empty() ? "" : "key \"" + line.name + "\": ") +
                                 line.complaint);
  }
  const auto before =
      std::find_if(m_entries.begin(), m_entries.end(), [&line](const Entry& entry) { return entry.key == line.name; });
  if (before != m_entries.end()) {
    throw CLI::ValidationError(fmt::format("{}key \"{}\": is there already in line {}; remove one of them",
                                           Place(iLine), line.name, before->iLine));
  }
  if (line.name == PathKey) {
    line.values.front() = (std::filesystem::path(m_strPath).parent_path() / line.values.front()).string();
  }
  m_entries.push_back({line.name, line.values.front(), iLine});
}

void OptionFile::ApplyTo(CLI::App& app, const std::vector<std::string>& groups, const std::string& first) {
  std::stable_partition(m_entries.begin(), m_entries.end(),
                        [&first](const Entry& entry) { return entry.key == first; });
  for (const Entry& entry : m_entries) {
    Apply(entry, app, groups);
  }
}

void OptionFile::Apply(const Entry& entry, CLI::App& app, const std::vector<std::string>& groups) {
  const std::string name = "--" + entry.key;
  CLI::Option* pOption = app.get_option_no_throw(name);
  // Of an option with two names only the first one is a key: "no-uv = true" would say the same as "uv = true".
  if (pOption == nullptr || !IsInGroups(*pOption, groups) || pOption->get_lnames().front() != entry.key) {
    const std::string nearest = Nearest(entry.key, NamesOf(app, groups));
    throw CLI::ValidationError(fmt::format(
        "{}key \"{}\": is not known; {}", Place(entry.iLine), entry.key,
        nearest.empty() ? "the help lists the options that it can hold" : "did you mean \"" + nearest + "\"?"));
  }
  if (pOption->count() > 0) {
    return;
  }
  m_applied[name] = entry.iLine;
  const bool bFlag = pOption->get_expected_max() == 0;
  if (bFlag && entry.value != "true" && entry.value != "false") {
    Complain(name, fmt::format("\"{}\" cannot be used; give true or false", entry.value));
  }
  try {
    pOption->add_result(entry.value);
    pOption->run_callback();
  } catch (const CLI::Error& error) {
    Complain(name, WithoutName(error.what(), name));
  }
}

void OptionFile::Complain(const std::string& option, const std::string& text) const {
  const auto applied = m_applied.find(option);
  if (applied == m_applied.end()) {
    throw CLI::ValidationError(option, text);
  }
  throw CLI::ValidationError(fmt::format("{}key \"{}\": {}", Place(applied->second), option.substr(2), text));
}

}  // namespace host
