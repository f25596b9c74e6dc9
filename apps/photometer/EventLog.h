/// Lines about what happens, written while it happens: for people, as CSV or as JSON lines.
#pragma once

#include <string>

#include "Command.h"
#include "EventText.h"
#include "ReportFormat.h"
#include "ResultHeader.h"

namespace host {

inline constexpr const char* EventSchemaName = "photometer-events";
/// Raised when a reader of the old form would misunderstand the new one.
inline constexpr int EventSchemaVersion = 1;

class EventLog {
 public:
  /// The console must outlive it.
  EventLog(Console& console, OutputFormat format) : m_console(console), m_format(format) {}

  /// The first line: which instrument it is. For people nothing.
  void Begin(const ResultHeader& header);
  /// - Table: the time of day, the words.
  /// - CSV: `time,event,value,text`.
  /// - JSON: an object on one line with `time`, `event`, `value` and `text`.
  void Write(const EventText& event);
  /// A text that is the value itself: for people as it is.
  void WriteWords(const std::string& name, const std::string& words);
  /// The last line, with why it is the last. For people nothing.
  void End(const std::string& reason);

  /// False: a line could not be written; nothing more is tried.
  [[nodiscard]] bool IsGood() const { return m_console.results.good(); }
  /// What that means for the program, with a message when it is no success.
  [[nodiscard]] ExitCode Conclude() const;

 private:
  void WriteLine(const std::string& line);

  Console& m_console;
  OutputFormat m_format;
};

}  // namespace host
