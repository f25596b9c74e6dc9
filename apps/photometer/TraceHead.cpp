#include "TraceHead.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "InputFile.h"
#include "LampCounters.h"
#include "logging/LogFiles.h"
#include "platform/Platform.h"

namespace host {

namespace layer = photometer::platform;

namespace {

using layer::SYSTEMTIME;
using photometer::DWORD;
using photometer::WORD;

constexpr std::string_view FormVersion = "1";
constexpr const char* Settings = "--settings";
constexpr const char* Zeros = "--zeros";
constexpr const char* Blank = "--blank";
// As the options themselves take.
constexpr std::size_t GreatestFile = 64U << 20;
constexpr const char* WhatToDo = "record the run again, with \"photometer ... --trace FILE\"";

constexpr std::array<std::string_view, 10> LeftOut = {"--board",     "--trace", "--output", "--plot", "--force",
                                                      "--host-file", Settings,  Blank,      "--help", "script"};
/// They stand behind the head.
constexpr std::array Events = {TraceInterrupt, TraceEnd, TraceCommandLine, TraceLinesEnd, TraceTyped, TraceInputEnd};

template <typename Number>
std::optional<Number> ParseNumber(std::string_view text) {
  Number value{};
  const auto [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  return error == std::errc() && pEnd == text.data() + text.size() ? std::optional(value) : std::nullopt;
}

std::string TimeText(const SYSTEMTIME& time) {
  return fmt::format("{:04}-{:02}-{:02} {:02}:{:02}:{:02}.{:03}", time.wYear, time.wMonth, time.wDay, time.wHour,
                     time.wMinute, time.wSecond, time.wMilliseconds);
}

/// A number of a time's text.
struct TimeField {
  WORD SYSTEMTIME::*pMember;
  std::size_t nBegin;
  std::size_t nDigits;
  WORD wLowest;
  WORD wHighest;
};
constexpr std::array TimeFields = {
    TimeField{&SYSTEMTIME::wYear, 0, 4, 1970, 9999},
    TimeField{&SYSTEMTIME::wMonth, 5, 2, 1, 12},
    TimeField{&SYSTEMTIME::wDay, 8, 2, 1, 31},
    TimeField{&SYSTEMTIME::wHour, 11, 2, 0, 23},
    TimeField{&SYSTEMTIME::wMinute, 14, 2, 0, 59},
    TimeField{&SYSTEMTIME::wSecond, 17, 2, 0, 59},
    TimeField{&SYSTEMTIME::wMilliseconds, 20, 3, 0, 999},
};

bool ParseTime(std::string_view text, SYSTEMTIME& time) {
  if (text.size() != TimeText({}).size()) {
    return false;
  }
  for (const TimeField& field : TimeFields) {
    const auto value = ParseNumber<WORD>(text.substr(field.nBegin, field.nDigits));
    if (!value || *value < field.wLowest || *value > field.wHighest) {
      return false;
    }
    time.*field.pMember = *value;
  }
  return true;
}

/// Name and value, at the first blank.
std::pair<std::string, std::string> SplitPair(std::string_view text) {
  const std::size_t nBlank = std::min(text.find(' '), text.size());
  return {std::string(text.substr(0, nBlank)), std::string(text.substr(std::min(nBlank + 1, text.size())))};
}

bool TakeBoardKind(std::string_view value, TraceHead& head) {
  head.bVirtual = value == "virtual";
  return head.bVirtual || value == "real";
}

bool TakeTick(std::string_view value, TraceHead& head) {
  const auto tick = ParseNumber<DWORD>(value);
  head.dwTick = tick.value_or(0);
  return tick.has_value();
}

bool TakePort(std::string_view value, TraceHead& head) {
  head.ports.emplace_back(value);
  return value.size() == 4 && value.starts_with("COM") && value[3] >= '0' && value[3] <= '9';
}

bool TakeCounter(std::string_view value, TraceHead& head) {
  const auto [name, number] = SplitPair(value);
  const auto counter = ParseNumber<DWORD>(number);
  head.registry[name] = counter.value_or(0);
  return counter.has_value();
}

bool TakeOption(std::string_view value, TraceHead& head) {
  head.call.options.push_back(SplitPair(value));
  const std::string& name = head.call.options.back().first;
  return name.starts_with("--") && !IsLeftOut(name);
}

bool TakeWord(std::string_view value, TraceHead& head) {
  head.call.options.emplace_back("", value);
  return !value.empty() && value.front() != '-';
}

struct HeadEntry {
  std::string_view name;
  /// False: the value cannot be.
  bool (*take)(std::string_view value, TraceHead& head);
};
constexpr std::array HeadEntries = {
    HeadEntry{"trace", [](std::string_view value, TraceHead&) { return value == FormVersion; }},
    HeadEntry{"library",
              [](std::string_view value, TraceHead& head) {
                head.strLibrary = value;
                return true;
              }},
    HeadEntry{"board", TakeBoardKind},
    HeadEntry{"time", [](std::string_view value, TraceHead& head) { return ParseTime(value, head.time); }},
    HeadEntry{"tick", TakeTick},
    HeadEntry{"port", TakePort},
    HeadEntry{"registry", TakeCounter},
    HeadEntry{"command",
              [](std::string_view value, TraceHead& head) {
                head.strCommand = value;
                return !value.empty();
              }},
    HeadEntry{"option", TakeOption},
    HeadEntry{"word", TakeWord},
};

bool TakeLine(const TraceLine& line, TraceHead& head) {
  if (line.channel != HostChannel) {
    (line.channel == SettingsChannel ? head.strSettings : head.call.strBlank) += line.text;
    return true;
  }
  const auto [name, value] = SplitPair(line.text);
  const auto entry = std::find_if(HeadEntries.begin(), HeadEntries.end(),
                                  [&name = name](const HeadEntry& one) { return one.name == name; });
  return entry != HeadEntries.end() && entry->take(value, head);
}

}  // namespace

void NoteFile(layer::Transcript& transcript, std::uint64_t nMicroseconds, const char* channel, std::string_view bytes) {
  while (!bytes.empty()) {
    const std::size_t nLine = std::min(bytes.find('\n'), bytes.size() - 1) + 1;
    transcript.Note(nMicroseconds, channel, bytes.substr(0, nLine));
    bytes.remove_prefix(nLine);
  }
}

bool IsLeftOut(std::string_view option) { return std::ranges::find(LeftOut, option) != LeftOut.end(); }

TracedOptions TakeOptions(const CLI::App& app) {
  TracedOptions taken;
  for (const CLI::Option* pOption : app.get_options()) {
    const std::vector<std::string>& names = pOption->get_lnames();
    const std::string name = names.empty() ? pOption->get_single_name() : "--" + names.front();
    for (const std::string& value : pOption->results()) {
      if (name == Blank) {
        taken.strBlank = LoadInput(value, GreatestFile).text;
      }
      if (!IsLeftOut(name) && !value.empty()) {
        taken.options.emplace_back(names.empty() ? "" : name, value);
      }
    }
  }
  return taken;
}

void TraceHead::TakeCommand(const CLI::App& app, const std::string& settingsPath) {
  constexpr std::string_view Program = "photometer ";
  strCommand = app.get_name().starts_with(Program) ? app.get_name().substr(Program.size()) : app.get_name();
  call = TakeOptions(app);
  if (!settingsPath.empty()) {
    strSettings = LoadInput(settingsPath, GreatestFile).text;
  }
}

void TraceHead::TakeZeros(const std::vector<double>& wavelengths) {
  std::erase_if(call.options, [](const auto& option) { return option.first == Zeros; });
  if (!wavelengths.empty()) {
    call.options.emplace_back(Zeros, fmt::format("{}", fmt::join(wavelengths, ",")));
  }
}

void TraceHead::TakeBoard() {
  photometer::GetLibraryVersionText(&strLibrary);
  layer::GetLocalTime(&time);
  dwTick = layer::GetTickCount();
  layer::HANDLE hKey = 0;
  if (layer::RegOpenKeyExW(LampCounterKey, &hKey) != 0) {
    return;
  }
  for (const char16_t* name : {HalogenCounter, DeuteriumCounter}) {
    if (DWORD dwValue = 0; layer::RegQueryValueExW(hKey, name, &dwValue) == 0) {
      registry[layer::ToUtf8(name)] = dwValue;
    }
  }
  layer::RegCloseKey(hKey);
}

void TraceHead::WriteTo(layer::Transcript& transcript, std::uint64_t nMicroseconds) const {
  const auto note = [&](const std::string& text) { transcript.Note(nMicroseconds, HostChannel, text); };
  note(fmt::format("trace {}", FormVersion));
  note("library " + strLibrary);
  note(bVirtual ? "board virtual" : "board real");
  note("time " + TimeText(time));
  note(fmt::format("tick {}", dwTick));
  for (const std::string& port : ports) {
    note("port " + port);
  }
  for (const auto& [name, dwValue] : registry) {
    note(fmt::format("registry {} {}", name, dwValue));
  }
  note("command " + strCommand);
  for (const auto& [name, value] : call.options) {
    note(name.empty() ? "word " + value : fmt::format("option {} {}", name, value));
  }
  NoteFile(transcript, nMicroseconds, SettingsChannel, strSettings);
  NoteFile(transcript, nMicroseconds, BlankChannel, call.strBlank);
}

std::variant<TraceHead, std::string> TraceHead::Read(const Trace& trace) {
  TraceHead head;
  if (!trace.Lines().front().text.starts_with("trace ")) {
    return fmt::format("1: the trace does not begin with \"trace {}\" in the channel host; {}", FormVersion, WhatToDo);
  }
  bool bOver = false;
  for (const TraceLine& line : trace.Lines()) {
    const bool bHead = IsHeadLine(line) && !(bOver && line.channel == BlankChannel);
    bOver = bOver || !bHead;
    if (bHead && (bOver || !TakeLine(line, head))) {
      return fmt::format("{}: \"{}\" cannot stand in the head of a trace; {}", line.nNumber,
                         layer::Printable(line.text), WhatToDo);
    }
  }
  if (head.strCommand.empty() || head.time.wYear == 0) {
    return fmt::format("1: the head of the trace has no {}; {}", head.strCommand.empty() ? "command" : "time",
                       WhatToDo);
  }
  return head;
}

bool IsHeadLine(const TraceLine& line) {
  if (line.channel == HostChannel) {
    return std::ranges::none_of(Events, [&line](std::string_view begin) { return line.text.starts_with(begin); });
  }
  return line.channel == SettingsChannel || line.channel == BlankChannel;
}

}  // namespace host
