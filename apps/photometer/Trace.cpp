#include "Trace.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>

#include <fmt/format.h>

#include "platform/Transcript.h"

namespace host {

namespace {

// No run goes on for a month. The limit keeps sums of times far from their type's.
constexpr std::uint64_t LongestMilliseconds = 31ULL * 24 * 3600 * 1000;
constexpr std::size_t MicrosecondDigits = 3;
constexpr std::size_t LongestShown = 60;
constexpr const char* WhatToDo = "give a file that \"photometer ... --trace FILE\" wrote, whole and unchanged";

constexpr std::array<std::string_view, 8> PlainChannels = {"sink",     "log",       "debug",         "pin",
                                                           "registry", HostChannel, SettingsChannel, BlankChannel};

bool IsDigit(char character) { return character >= '0' && character <= '9'; }

std::optional<std::uint64_t> ParseDigits(std::string_view text) {
  std::uint64_t nValue = 0;
  const auto [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), nValue);
  const bool bWhole = error == std::errc() && pEnd == text.data() + text.size();
  return bWhole && IsDigit(text.front()) ? std::optional(nValue) : std::nullopt;
}

std::optional<std::uint64_t> ParseTime(std::string_view text) {
  const std::size_t nPoint = text.find('.');
  if (nPoint == 0 || nPoint == std::string_view::npos || text.size() - nPoint - 1 != MicrosecondDigits) {
    return std::nullopt;
  }
  const auto milliseconds = ParseDigits(text.substr(0, nPoint));
  const auto rest = ParseDigits(text.substr(nPoint + 1));
  if (!milliseconds || !rest || *milliseconds > LongestMilliseconds) {
    return std::nullopt;
  }
  return *milliseconds * 1000 + *rest;
}

bool IsChannel(std::string_view text) {
  if (std::find(PlainChannels.begin(), PlainChannels.end(), text) != PlainChannels.end()) {
    return true;
  }
  return text.size() == 5 && text.starts_with("COM") && IsDigit(text[3]) && (text[4] == '<' || text[4] == '>');
}

/// The byte behind a backslash, from "xNN".
std::optional<char> ParseEscape(std::string_view text) {
  unsigned nByte = 0;
  if (text.size() < 3 || text[0] != 'x') {
    return std::nullopt;
  }
  const auto [pEnd, error] = std::from_chars(text.data() + 1, text.data() + 3, nByte, 16);
  return error == std::errc() && pEnd == text.data() + 3 ? std::optional(static_cast<char>(nByte)) : std::nullopt;
}

std::optional<std::string> ParseBytes(std::string_view text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] < ' ' || text[i] > '~') {
      return std::nullopt;
    }
    if (text[i] != '\\') {
      bytes += text[i];
      continue;
    }
    const std::optional<char> byte = ParseEscape(text.substr(i + 1, 3));
    if (!byte) {
      return std::nullopt;
    }
    bytes += *byte;
    i += 3;
  }
  return bytes;
}

/// What is wrong with the line; empty when it could be taken.
std::string TakeLine(std::string_view text, TraceLine& line) {
  const std::size_t nTime = text.find('\t');
  const std::size_t nChannel = nTime == std::string_view::npos ? nTime : text.find('\t', nTime + 1);
  if (nChannel == std::string_view::npos) {
    return fmt::format("\"{}\" is not \"time <TAB> channel <TAB> text\"",
                       photometer::platform::Printable(text.substr(0, LongestShown)));
  }
  const std::string_view time = text.substr(0, nTime);
  const std::string_view channel = text.substr(nTime + 1, nChannel - nTime - 1);
  const std::optional<std::uint64_t> microseconds = ParseTime(time);
  if (!microseconds) {
    return fmt::format("the time \"{}\" is none: milliseconds, a point, three digits, at most 31 days",
                       photometer::platform::Printable(time.substr(0, LongestShown)));
  }
  if (!IsChannel(channel)) {
    return fmt::format("there is no channel \"{}\"", photometer::platform::Printable(channel.substr(0, LongestShown)));
  }
  std::optional<std::string> bytes = ParseBytes(text.substr(nChannel + 1));
  if (!bytes) {
    return "the text has a byte that is not written \\xNN, or a backslash without";
  }
  line.nMicroseconds = *microseconds;
  line.channel = channel;
  line.text = std::move(*bytes);
  return {};
}

}  // namespace

std::variant<Trace, std::string> Trace::Read(std::string_view text) {
  Trace trace;
  while (!text.empty()) {
    TraceLine line{trace.m_lines.size() + 1, 0, {}, {}};
    const std::size_t nEnd = text.find('\n');
    if (nEnd == std::string_view::npos) {
      return fmt::format("{}: the line is cut off; copy the file whole, or take the line away", line.nNumber);
    }
    if (const std::string complaint = TakeLine(text.substr(0, nEnd), line); !complaint.empty()) {
      return fmt::format("{}: {}; {}", line.nNumber, complaint, WhatToDo);
    }
    trace.m_lines.push_back(std::move(line));
    text.remove_prefix(nEnd + 1);
  }
  if (trace.m_lines.empty()) {
    return fmt::format("1: the file is empty; {}", WhatToDo);
  }
  return trace;
}

bool Trace::IsComplete() const { return m_lines.back().IsOfHost(TraceEnd); }

}  // namespace host
