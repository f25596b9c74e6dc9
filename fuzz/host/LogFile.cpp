// Input: lines of the device log, or records of the error list.
// Checks: every line is something; it can be shown; what is stamped has a time in its form, and a record has a number.
#include "LogEntry.h"
#include "support/Lines.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using host::LogEntry;

bool IsTime(const std::string& text, std::string_view form) {
  return text.size() == form.size() && std::ranges::equal(text, form, [](char found, char expected) {
           return expected == '0' ? found >= '0' && found <= '9' : found == expected;
         });
}

void CheckEntry(const LogEntry& entry, LogEntry::Kind stamped, std::string_view form) {
  fuzz::RequirePrintable(entry.strText);
  fuzz::RequirePrintable(entry.strVersion);
  Require((entry.kind == stamped) == !entry.strTime.empty(), "what is stamped has a time");
  Require(entry.strTime.empty() || IsTime(entry.strTime, form), "a time has its form");
  Require(entry.number.has_value() == (entry.kind == LogEntry::Kind::Error), "a record has a number");
}

void Check(std::string_view input) {
  for (const std::string& line : fuzz::LinesOf(input)) {
    CheckEntry(host::ParseLogLine(line), LogEntry::Kind::Line, "0000-00-00T00:00:00");
    CheckEntry(host::ParseErrorRecord(line), LogEntry::Kind::Error, "0000-00-00T00:00");
  }
}

const fuzz::Target target("LogFile", Check);

}  // namespace
