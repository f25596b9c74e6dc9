/// Lines of the device log and records of the error list, read back.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "photometer/Types.h"

namespace host {

struct LogEntry {
  enum class Kind {
    /// A stamped line of the device log.
    Line,
    /// The separator that each start of the library writes.
    Start,
    /// A record of the error list.
    Error,
    /// Neither: cut, overwritten or foreign.
    Damaged
  };

  Kind kind = Kind::Damaged;
  /// "2026-11-17T22:49:44", of a record without seconds; empty when there is none.
  std::string strTime;
  /// UTF-8, control characters escaped; of damaged lines all that was there.
  std::string strText;
  /// Of a record: version of the library, and error number.
  std::string strVersion;
  std::optional<photometer::LONG> number;
};

/// A line of the device log, without its end.
LogEntry ParseLogLine(std::string_view line);

/// A record of the error list, without its end.
LogEntry ParseErrorRecord(std::string_view line);

/// The moment of a text like "2026-11-17", "2026-11-17T22:49", "17.11.2026 22:49:44", or of a time before now ("2h"),
/// in the form of an entry's. Nothing for any other text.
std::optional<std::string> ParseMoment(const std::string& text);

}  // namespace host
