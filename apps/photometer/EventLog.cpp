#include "EventLog.h"

#include <fmt/format.h>

#include "LocalTime.h"

namespace host {

namespace {

using nlohmann::ordered_json;

/// Where the time of day begins in a local time.
constexpr std::size_t DateLength = 11;

std::string JsonLine(const ordered_json& json) {
  return json.dump(-1, ' ', false, ordered_json::error_handler_t::replace) + "\n";
}

std::string CsvValue(const ordered_json& value) {
  if (value.is_null()) {
    return {};
  }
  return value.is_string() ? QuotedForCsv(value.get<std::string>()) : value.dump();
}

}  // namespace

void EventLog::Begin(const ResultHeader& header) {
  const std::string strTime = LocalTimeTextWithMilliseconds();
  if (m_format == OutputFormat::Csv) {
    WriteLine("time,event,value,text\n");
    WriteLine(fmt::format("{},begin,{},{}\n", strTime, QuotedForCsv(header.strKind),
                          QuotedForCsv(header.strInstrument + ", " + header.strFirmware)));
  } else if (m_format == OutputFormat::Json) {
    WriteLine(JsonLine({{"time", strTime},
                        {"event", "begin"},
                        {"schema", EventSchemaName},
                        {"version", EventSchemaVersion},
                        {"kind", header.strKind},
                        {"instrument", header.strInstrument},
                        {"firmware", header.strFirmware}}));
  }
}

void EventLog::Write(const EventText& event) {
  const std::string strTime = LocalTimeTextWithMilliseconds();
  switch (m_format) {
    case OutputFormat::Csv:
      return WriteLine(
          fmt::format("{},{},{},{}\n", strTime, event.strName, CsvValue(event.value), QuotedForCsv(event.strWords)));
    case OutputFormat::Json:
      return WriteLine(
          JsonLine({{"time", strTime}, {"event", event.strName}, {"value", event.value}, {"text", event.strWords}}));
    case OutputFormat::Table:
      break;
  }
  WriteLine(strTime.substr(DateLength) + "  " + event.strWords + "\n");
}

void EventLog::WriteWords(const std::string& name, const std::string& words) {
  if (m_format == OutputFormat::Table) {
    WriteLine(words + "\n");
  } else {
    Write({name, words, ""});
  }
}

void EventLog::End(const std::string& reason) {
  if (m_format != OutputFormat::Table) {
    Write({"end", nullptr, reason});
  }
}

ExitCode EventLog::Conclude() const {
  if (!IsGood()) {
    m_console.messages << "the lines could not be written: is the disk full, or the reader gone?\n";
    return ExitCode::OutputFailed;
  }
  return ExitCode::Success;
}

void EventLog::WriteLine(const std::string& line) {
  if (IsGood()) {
    m_console.results << line << std::flush;
  }
}

}  // namespace host
