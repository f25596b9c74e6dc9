#include "platform/posix/BoardFile.h"

#include <fcntl.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>

#include "platform/InstrumentPath.h"
#include "platform/Platform.h"
#include "platform/posix/HostFile.h"
#include "platform/posix/TomlLine.h"

namespace photometer::platform {

namespace {

constexpr std::size_t FileLimit = 65536;

constexpr const char* Sections[] = {"ports", "pins", "registry", "debug"};

constexpr std::string_view AllKeys[] = {"root",        "program",       "ports.COM1",   "ports.COM2",
                                        "ports.COM3",  "ports.COM4",    "ports.COM5",   "ports.COM6",
                                        "ports.COM7",  "ports.COM8",    "ports.COM9",   "ports.at-once",
                                        "pins.folder", "registry.file", "debug.output", "debug.file"};

bool IsKey(std::string_view key) { return std::find(std::begin(AllKeys), std::end(AllKeys), key) != std::end(AllKeys); }

struct DebugWord {
  const char* word;
  DebugTarget target;
};

constexpr DebugWord DebugWords[] = {{"off", DebugTarget::Off},
                                    {"stderr", DebugTarget::StandardError},
                                    {"file", DebugTarget::File},
                                    {"syslog", DebugTarget::Syslog}};

/// "COM2" to "COM2:"; empty for what is not a port's name.
std::u16string PortName(const std::string& key) {
  return key.starts_with("COM") && IsKey("ports." + key) ? FromUtf8(key + ":") : std::u16string();
}

std::string FullKey(const std::string& section, const std::string& key) {
  return section.empty() ? key : section + "." + key;
}

/// A host path; a relative one is taken from the board file's folder.
std::string Resolved(const std::string& source, const std::string& path) {
  std::error_code error;
  const std::filesystem::path base = std::filesystem::absolute(source, error);
  return (base.parent_path() / path).lexically_normal().string();
}

/// Goes through a board file's lines. Each step gives what is wrong, or nothing.
class BoardFileReader {
 public:
  explicit BoardFileReader(const std::string& source) { m_file.source = source; }

  std::string ReadText(std::string_view text);
  std::string Finish();
  BoardFile TakeFile() { return std::move(m_file); }

 private:
  std::string ReadLine(std::string_view text);
  std::string BeginSection(const std::string& section);
  std::string ReadEntry(const TomlLine& entry);
  std::string SetText(const std::string& key, const std::string& value);
  std::string SetPort(const std::string& key, const std::string& device);
  std::string SetProgram(const std::string& value);
  std::string SetDebugOutput(const std::string& value);
  std::string MarkAtOnce(const std::string& port);
  [[nodiscard]] std::string LineComplaint(const std::string& text) const;

  BoardFile m_file;
  std::string m_strSection;
  std::vector<std::string> m_sections;
  std::vector<std::string> m_atOnce = {"COM2"};
  int m_iLine = 0;
};

std::string BoardFileReader::LineComplaint(const std::string& text) const {
  return m_file.source + ":" + std::to_string(m_iLine) + ": " + text;
}

std::string BoardFileReader::ReadText(std::string_view text) {
  while (!text.empty()) {
    const std::size_t nEnd = std::min(text.find('\n'), text.size());
    ++m_iLine;
    if (std::string complaint = ReadLine(text.substr(0, nEnd)); !complaint.empty()) {
      return complaint;
    }
    text.remove_prefix(std::min(nEnd + 1, text.size()));
  }
  return {};
}

std::string BoardFileReader::ReadLine(std::string_view text) {
  const TomlLine line = TomlLine::Parse(text);
  switch (line.kind) {
    case TomlLine::Kind::Nothing:
      return {};
    case TomlLine::Kind::Section:
      return BeginSection(line.name);
    case TomlLine::Kind::Text:
    case TomlLine::Kind::List:
      return ReadEntry(line);
    case TomlLine::Kind::Bare:
      return LineComplaint("key \"" + FullKey(m_strSection, line.name) +
                           "\": the value cannot be read; put text in quotes, in single ones if it has backslashes");
    case TomlLine::Kind::Wrong:
      break;
  }
  return LineComplaint(line.name.empty() ? line.complaint
                                         : "key \"" + FullKey(m_strSection, line.name) + "\": " + line.complaint);
}

std::string BoardFileReader::BeginSection(const std::string& section) {
  if (std::find(std::begin(Sections), std::end(Sections), section) == std::end(Sections)) {
    return LineComplaint("section \"" + section + "\" is not known; the sections are ports, pins, registry and debug");
  }
  if (std::find(m_sections.begin(), m_sections.end(), section) != m_sections.end()) {
    return LineComplaint("section \"" + section + "\" is there twice; put its keys together");
  }
  m_strSection = section;
  m_sections.push_back(section);
  return {};
}

std::string BoardFileReader::ReadEntry(const TomlLine& entry) {
  const std::string key = FullKey(m_strSection, entry.name);
  const auto [previous, bNew] = m_file.lines.emplace(key, m_iLine);
  if (!bNew) {
    return LineComplaint("key \"" + key + "\": is there already in line " + std::to_string(previous->second) +
                         "; remove one of them");
  }
  if (!IsKey(key)) {
    return m_file.Complaint(key, m_strSection == "ports"
                                     ? "is not a port; the ports are COM1 to COM9"
                                     : "is not known; check its spelling and the section that it stands in");
  }
  const bool bList = entry.kind == TomlLine::Kind::List;
  if (key == "ports.at-once") {
    m_atOnce = entry.values;
    return bList ? std::string() : m_file.Complaint(key, "must be a list; write [\"COM2\"]");
  }
  if (bList || entry.values.front().empty()) {
    return m_file.Complaint(key, "must be one text that is not empty; write it in quotes");
  }
  return SetText(key, entry.values.front());
}

std::string BoardFileReader::SetText(const std::string& key, const std::string& value) {
  const std::pair<const char*, std::string BoardFile::*> paths[] = {{"root", &BoardFile::root},
                                                                    {"pins.folder", &BoardFile::pinsFolder},
                                                                    {"registry.file", &BoardFile::registryFile},
                                                                    {"debug.file", &BoardFile::debugFile}};
  for (const auto& [name, field] : paths) {
    if (key == name) {
      m_file.*field = Resolved(m_file.source, value);
      return {};
    }
  }
  if (key == "program") {
    return SetProgram(value);
  }
  if (key == "debug.output") {
    return SetDebugOutput(value);
  }
  return SetPort(key, value);
}

std::string BoardFileReader::SetPort(const std::string& key, const std::string& device) {
  const std::u16string name = PortName(key.substr(key.find('.') + 1));
  const std::string path = Resolved(m_file.source, device);
  for (const SerialPortEntry& port : m_file.ports) {
    if (port.device == path) {
      return m_file.Complaint(key, "\"" + path + "\" is the device of " + ToUtf8(port.name) +
                                       " already; give each port a device of its own");
    }
  }
  m_file.ports.push_back({name, path, false});
  return {};
}

std::string BoardFileReader::SetProgram(const std::string& value) {
  m_file.program = FromUtf8(value);
  const auto names = SplitInstrumentPath(m_file.program);
  if (names.has_value() && !names->empty()) {
    return {};
  }
  return m_file.Complaint("program", "\"" + value +
                                         "\" is no path of a file on the instrument; write one like "
                                         "'\\Application\\photometer.exe', in single quotes");
}

std::string BoardFileReader::SetDebugOutput(const std::string& value) {
  for (const DebugWord& entry : DebugWords) {
    if (value == entry.word) {
      m_file.debugTarget = entry.target;
      return {};
    }
  }
  return m_file.Complaint("debug.output", "\"" + value + "\" is not known; use off, stderr, file or syslog");
}

std::string BoardFileReader::MarkAtOnce(const std::string& port) {
  const std::u16string name = PortName(port);
  const auto found = std::find_if(m_file.ports.begin(), m_file.ports.end(),
                                  [&name](const SerialPortEntry& entry) { return entry.name == name; });
  if (found != m_file.ports.end()) {
    found->bAtOnce = true;
    return {};
  }
  // Without the key the optical unit's port is meant, if there is one.
  const bool bGiven = m_file.lines.contains("ports.at-once");
  return bGiven ? m_file.Complaint("ports.at-once",
                                   "\"" + port + "\" has no device; add it to this section or take it off the list")
                : std::string();
}

std::string BoardFileReader::Finish() {
  if (m_file.root.empty()) {
    return m_file.Complaint("root", "is missing; give the folder of the instrument's files before the first section");
  }
  for (const std::string& port : m_atOnce) {
    if (std::string complaint = MarkAtOnce(port); !complaint.empty()) {
      return complaint;
    }
  }
  if (m_file.debugTarget == DebugTarget::File && m_file.debugFile.empty()) {
    return m_file.Complaint("debug.file", "is missing; the debug output \"file\" needs it");
  }
  if (m_file.registryFile.empty()) {
    m_file.registryFile = m_file.root + "/registry.txt";
  }
  return {};
}

}  // namespace

std::variant<BoardFile, std::string> BoardFile::Parse(std::string_view text, const std::string& source) {
  BoardFileReader reader(source);
  std::string complaint = reader.ReadText(text);
  if (complaint.empty()) {
    complaint = reader.Finish();
  }
  if (!complaint.empty()) {
    return complaint;
  }
  return reader.TakeFile();
}

std::variant<BoardFile, std::string> BoardFile::Load(const std::string& path) {
  const HostFile file = HostFile::Open(path, O_RDONLY | O_NONBLOCK);
  if (!file.IsOpen()) {
    return path + ": cannot be opened (" + std::strerror(errno) +
           "); make the board file, or name another one in the environment variable PHOTOMETER_BOARD";
  }
  const std::optional<std::string> text = file.IsRegular() ? file.ReadAll(FileLimit) : std::nullopt;
  if (!text.has_value()) {
    return path + ": cannot be read, or is longer than 64 KiB; check that it is a board file";
  }
  return Parse(*text, path);
}

std::span<const std::string_view> BoardFile::Keys() { return AllKeys; }

std::string BoardFile::Complaint(const std::string& key, const std::string& text) const {
  const auto line = lines.find(key);
  const std::string place = line == lines.end() ? source : source + ":" + std::to_string(line->second);
  return place + ": key \"" + key + "\": " + text;
}

}  // namespace photometer::platform
