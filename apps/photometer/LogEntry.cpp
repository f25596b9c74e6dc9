#include "LogEntry.h"

#include <array>
#include <charconv>
#include <ctime>

#include <fmt/format.h>

#include "Duration.h"
#include "ReadableText.h"

namespace host {

namespace {

constexpr std::size_t SeparatorLength = 80;
constexpr std::string_view StampEnd = " |  ";

/// Reads a text by a pattern: `d`, `M`, `y`, `H`, `m` and `s` stand for one digit each of day, month, year, hour,
/// minute and second, every other character for itself. Gives the moment as an entry has it, with seconds if there are
/// some.
std::optional<std::string> ReadTime(std::string_view text, std::string_view pattern) {
  constexpr std::string_view Letters = "yMdHms";
  constexpr std::array Lowest = {1601, 1, 1, 0, 0, 0};
  constexpr std::array Highest = {9999, 12, 31, 23, 59, 60};
  if (text.size() != pattern.size()) {
    return std::nullopt;
  }
  std::array<int, 6> parts = {0, 0, 0, 0, 0, 0};
  for (std::size_t i = 0; i < text.size(); ++i) {
    const std::size_t nPart = Letters.find(pattern[i]);
    const bool bDigit = text[i] >= '0' && text[i] <= '9';
    if (nPart == std::string_view::npos ? text[i] != pattern[i] : !bDigit) {
      return std::nullopt;
    }
    if (nPart != std::string_view::npos) {
      parts.at(nPart) = parts.at(nPart) * 10 + (text[i] - '0');
    }
  }
  for (std::size_t i = 0; i < parts.size(); ++i) {
    if (parts.at(i) < Lowest.at(i) || parts.at(i) > Highest.at(i)) {
      return std::nullopt;
    }
  }
  std::string time = fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}", parts[0], parts[1], parts[2], parts[3], parts[4]);
  return pattern.find('s') == std::string_view::npos ? time : time + fmt::format(":{:02}", parts[5]);
}

bool HasControls(std::string_view text) {
  for (const char byte : text) {
    if (static_cast<unsigned char>(byte) < ' ' && byte != '\t') {
      return true;
    }
  }
  return false;
}

/// Takes the part before the next ";" away.
std::optional<std::string_view> TakeField(std::string_view& text) {
  const std::size_t nEnd = text.find(';');
  if (nEnd == std::string_view::npos) {
    return std::nullopt;
  }
  const std::string_view field = text.substr(0, nEnd);
  text.remove_prefix(nEnd + 1);
  return field;
}

std::optional<photometer::LONG> ParseNumber(std::string_view text) {
  photometer::LONG iNumber = 0;
  const auto [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), iNumber);
  return error == std::errc() && pEnd == text.data() + text.size() ? std::optional(iNumber) : std::nullopt;
}

std::string LocalTime(std::time_t time) {
  std::tm parts{};
  localtime_r(&time, &parts);
  return fmt::format("{:04}-{:02}-{:02}T{:02}:{:02}:{:02}", parts.tm_year + 1900, parts.tm_mon + 1, parts.tm_mday,
                     parts.tm_hour, parts.tm_min, parts.tm_sec);
}

}  // namespace

LogEntry ParseLogLine(std::string_view line) {
  constexpr std::string_view Stamp = "dd.MM.yyyy HH:mm:ss";
  LogEntry entry;
  entry.strText = Readable(line);
  if (line.size() == SeparatorLength && line.find_first_not_of(':') == std::string_view::npos) {
    entry.kind = LogEntry::Kind::Start;
    return entry;
  }
  const std::optional<std::string> time = ReadTime(line.substr(0, Stamp.size()), Stamp);
  if (time && line.substr(Stamp.size()).starts_with(StampEnd) && line.find('\0') == std::string_view::npos) {
    entry.kind = LogEntry::Kind::Line;
    entry.strTime = *time;
    entry.strText = Readable(line.substr(Stamp.size() + StampEnd.size()));
  }
  return entry;
}

LogEntry ParseErrorRecord(std::string_view line) {
  LogEntry entry;
  entry.strText = Readable(line);
  std::string_view rest = line;
  const auto time = TakeField(rest);
  const auto version = TakeField(rest);
  const auto number = TakeField(rest);
  if (!number || HasControls(line)) {
    return entry;
  }
  const auto moment = ReadTime(*time, "dd.MM.yyyy HH:mm");
  entry.number = ParseNumber(*number);
  if (!moment || !entry.number || version->empty()) {
    entry.number.reset();
    return entry;
  }
  entry.kind = LogEntry::Kind::Error;
  entry.strTime = *moment;
  entry.strVersion = Readable(*version);
  entry.strText = Readable(rest);
  return entry;
}

std::optional<std::string> ParseMoment(const std::string& text) {
  if (const std::optional<photometer::DWORD> dwSeconds = ParseDuration(text)) {
    return LocalTime(std::time(nullptr) - static_cast<std::time_t>(*dwSeconds));
  }
  for (const char* pattern : {"yyyy-MM-dd", "yyyy-MM-ddTHH:mm", "yyyy-MM-dd HH:mm", "yyyy-MM-ddTHH:mm:ss",
                              "yyyy-MM-dd HH:mm:ss", "dd.MM.yyyy", "dd.MM.yyyy HH:mm", "dd.MM.yyyy HH:mm:ss"}) {
    if (auto moment = ReadTime(text, pattern)) {
      return moment;
    }
  }
  return std::nullopt;
}

}  // namespace host
