#include "LogCommand.h"

#include <fcntl.h>

#include <optional>
#include <utility>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "ErrorTexts.h"
#include "ListingFormat.h"
#include "LogLines.h"
#include "ReadableText.h"
#include "ResultHeader.h"

namespace host {

namespace {

constexpr const char* DeviceLog = "NANDFlash/Logging/Photometer.log";
/// What the log was before it was moved away.
constexpr const char* DeviceLogBackup = "NANDFlash/Logging/Photometer.bak";
constexpr const char* ErrorList = "SDMemory/ErrorCodeList.csv";
constexpr const char* LogSchema = "photometer-log";
constexpr int LogSchemaVersion = 1;

const char* KindName(LogEntry::Kind kind) {
  switch (kind) {
    case LogEntry::Kind::Line:
      return "line";
    case LogEntry::Kind::Start:
      return "start";
    case LogEntry::Kind::Error:
      return "error";
    case LogEntry::Kind::Damaged:
      break;
  }
  return "damaged";
}

std::string ToText(const LogEntry& entry, const std::string& path, int iLine) {
  std::string time = entry.strTime;
  if (time.size() > 10) {
    time[10] = ' ';
  }
  switch (entry.kind) {
    case LogEntry::Kind::Line:
      return fmt::format("{}  {}\n", time, entry.strText);
    case LogEntry::Kind::Start:
      return "---- start of the library ----\n";
    case LogEntry::Kind::Error:
      return fmt::format("{}  {}\n                  {}\n", time, entry.strText, ExplainError(*entry.number));
    case LogEntry::Kind::Damaged:
      break;
  }
  return fmt::format("damaged ({}:{}): {}\n", path, iLine, entry.strText);
}

nlohmann::ordered_json ToJson(const LogEntry& entry, const std::string& path, int iLine) {
  nlohmann::ordered_json json = {
      {"kind", KindName(entry.kind)},
      {"time", entry.strTime.empty() ? nlohmann::ordered_json(nullptr) : nlohmann::ordered_json(entry.strTime)},
      {"text", entry.strText}};
  if (entry.kind == LogEntry::Kind::Damaged) {
    json["file"] = path;
    json["line"] = iLine;
  }
  if (entry.kind == LogEntry::Kind::Error) {
    json["version"] = entry.strVersion;
    json["number"] = *entry.number;
    const auto text = FindErrorText(*entry.number);
    json["operation"] = text ? nlohmann::ordered_json(text->operation) : nlohmann::ordered_json(nullptr);
    json["cause"] = text ? nlohmann::ordered_json(text->cause) : nlohmann::ordered_json(nullptr);
    json["advice"] = text ? nlohmann::ordered_json(text->advice) : nlohmann::ordered_json(nullptr);
  }
  return json;
}

}  // namespace

void LogCommand::AddOptions(CLI::App& app) {
  app.add_flag("--errors", m_bErrors, "The error list, each number explained, instead of the device log");
  const auto take = [this](const std::string& text) {
    const auto moment = ParseMoment(text);
    if (!moment) {
      throw CLI::ValidationError(
          "--since",
          fmt::format("\"{}\" is no time; give a date (2026-11-24), a moment (2026-11-24T14:25) or a time before now "
                      "(2h, 30min)",
                      text));
    }
    m_strSince = *moment;
  };
  app.add_option_function<std::string>("--since", take, "Only what was written since then, local time")
      ->type_name("TIME");
  m_folder.AddTo(app);
  AddListingFormat(app, m_bJson);
}

void LogCommand::Check() { m_folder.Check(); }

ExitCode LogCommand::Run(Console& console) {
  if (const std::string complaint = m_folder.Find(); !complaint.empty()) {
    console.messages << "photometer: " << complaint << "\n";
    return ExitCode::BadInput;
  }
  const std::string path = m_folder.At(m_bErrors ? ErrorList : DeviceLog);
  if (m_bJson) {
    console.results << fmt::format("{{\n  \"schema\": \"{}\",\n  \"version\": {},\n  \"entries\": [", LogSchema,
                                   LogSchemaVersion);
  }
  const bool bBackup = !m_bErrors && List(m_folder.At(DeviceLogBackup), console);
  const bool bFound = List(path, console) || bBackup;
  if (m_bJson) {
    console.results << (m_bFirst ? "]\n}\n" : "\n  ]\n}\n");
  }
  if (!bFound) {
    console.messages << fmt::format("{} cannot be read: nothing was written there yet, or {}\n", path,
                                    m_bErrors ? "the memory card is missing" : "the folder is another instrument's");
  }
  if (m_nDamaged > 0) {
    console.messages << fmt::format("{} damaged line{}: after a power cut the last one often is\n", m_nDamaged,
                                    m_nDamaged == 1 ? "" : "s");
  }
  return bFound || m_bErrors ? ExitCode::Success : ExitCode::BadInput;
}

bool LogCommand::List(const std::string& path, Console& console) {
  auto file = photometer::platform::HostFile::Open(path, O_RDONLY | O_NONBLOCK);
  if (!file.IsRegular()) {
    return false;
  }
  LogLines reader(std::move(file));
  LogLines::Line line;
  // A damaged line is as old as the line before, a start as the line behind it.
  bool bLate = m_strSince.empty();
  std::optional<LogEntry> start;
  for (int iLine = 1; console.results && console.interrupt.Count() == 0 && reader.Next(line); ++iLine) {
    LogEntry entry = m_bErrors ? ParseErrorRecord(line.text) : ParseLogLine(line.text);
    if (!entry.strTime.empty()) {
      bLate = entry.strTime >= m_strSince;
    }
    if (line.bCut) {
      entry = {LogEntry::Kind::Damaged, {}, Readable(line.text), {}, {}};
    }
    if (start && bLate) {
      Write(*start, path, iLine - 1, console);
    }
    start.reset();
    if (entry.kind == LogEntry::Kind::Start) {
      start = std::move(entry);
    } else if (bLate) {
      Write(entry, path, iLine, console);
    }
  }
  if (start && bLate) {
    Write(*start, path, 0, console);
  }
  return true;
}

void LogCommand::Write(const LogEntry& entry, const std::string& path, int iLine, Console& console) {
  m_nDamaged += entry.kind == LogEntry::Kind::Damaged ? 1 : 0;
  if (m_bJson) {
    console.results << (m_bFirst ? "\n    " : ",\n    ") << ToJson(entry, path, iLine).dump();
  } else {
    console.results << ToText(entry, path, iLine);
  }
  m_bFirst = false;
}

}  // namespace host
