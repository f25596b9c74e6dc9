#include "TraceComparison.h"

#include <algorithm>
#include <array>
#include <deque>
#include <map>
#include <string_view>
#include <vector>

#include <fmt/format.h>

#include "TraceHead.h"
#include "platform/Transcript.h"

namespace host {

namespace {

/// Callbacks that come from threads beside the run's.
struct CallbackThread {
  std::string_view callback;
  const char* thread;
};
constexpr std::array CallbackThreads = {
    CallbackThread{"OnCuvetteChanged", "cuvette"},   CallbackThread{"OnExternalPortData", "external"},
    CallbackThread{"OnSipperKey", "pump"},           CallbackThread{"OnSipperPortLost", "pump"},
    CallbackThread{"OnSipperInfoChanged", "pump"},   CallbackThread{"OnSipperConnectionChanged", "connection"},
    CallbackThread{"OnWavelengthCheckDue", "timer"}, CallbackThread{"OnUVLampReady", "timer"},
};

std::string ThreadOf(std::string_view callback) {
  const auto entry = std::find_if(CallbackThreads.begin(), CallbackThreads.end(),
                                  [callback](const CallbackThread& one) { return callback.starts_with(one.callback); });
  return entry == CallbackThreads.end() ? "run" : entry->thread;
}

/// Log lines name their thread in brackets.
std::string TagOf(std::string_view text) {
  const std::size_t nBegin = std::min(text.find('['), text.size());
  return std::string(text.substr(nBegin, text.find(']', nBegin) - nBegin));
}

/// What the line has to be in order with; empty when it is not compared.
std::string GroupOf(const TraceLine& line, Comparison comparison) {
  if (line.IsRead() || IsHeadLine(line)) {
    return {};
  }
  if (comparison == Comparison::Times) {
    return "all";
  }
  if (line.channel == "sink") {
    return "sink " + ThreadOf(line.text);
  }
  if (line.channel == "log") {
    return "log " + TagOf(line.text);
  }
  const bool bCompared = line.IsWrite() || line.channel == HostChannel || line.text.starts_with("out ");
  return bCompared ? line.channel : std::string();
}

/// Date and time give way, as in "17.11.2026 22:49:44 |  text".
std::string WithoutTimes(std::string text) {
  constexpr std::string_view Pattern = "dd.dd.dddd dd:dd";
  constexpr std::string_view Seconds = ":dd";
  const auto fits = [&text](std::size_t nBegin, std::string_view pattern) {
    return nBegin + pattern.size() <= text.size() &&
           std::equal(
               pattern.begin(), pattern.end(), text.begin() + static_cast<std::ptrdiff_t>(nBegin),
               [](char wanted, char found) { return wanted == 'd' ? found >= '0' && found <= '9' : wanted == found; });
  };
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (fits(i, Pattern)) {
      const std::size_t nLength = Pattern.size() + (fits(i + Pattern.size(), Seconds) ? Seconds.size() : 0);
      text.replace(i, nLength, "(time)");
    }
  }
  return text;
}

bool IsSame(const TraceLine& expected, const TraceLine& came, Comparison comparison) {
  if (expected.channel != came.channel) {
    return false;
  }
  if (comparison == Comparison::Times) {
    return expected.text == came.text && expected.nMicroseconds == came.nMicroseconds;
  }
  // A disk that was full then is not full now.
  const bool bOutputFailed = expected.IsOfHost("end 16");
  return bOutputFailed || WithoutTimes(expected.text) == WithoutTimes(came.text);
}

using Groups = std::map<std::string, std::deque<const TraceLine*>>;

Groups GroupLines(const Trace& trace, Comparison comparison) {
  Groups groups;
  for (const TraceLine& line : trace.Lines()) {
    if (const std::string group = GroupOf(line, comparison); !group.empty()) {
      groups[group].push_back(&line);
    }
  }
  return groups;
}

std::optional<TraceDifference> FirstMissing(const Groups& groups) {
  const TraceLine* pFirst = nullptr;
  for (const auto& [group, lines] : groups) {
    if (!lines.empty() && (pFirst == nullptr || lines.front()->nNumber < pFirst->nNumber)) {
      pFirst = lines.front();
    }
  }
  return pFirst == nullptr ? std::nullopt : std::optional(TraceDifference{pFirst->nNumber, ShowTraceLine(*pFirst), {}});
}

}  // namespace

std::optional<TraceDifference> Compare(const Trace& trace, const Trace& replay, Comparison comparison) {
  Groups groups = GroupLines(trace, comparison);
  for (const TraceLine& line : replay.Lines()) {
    const std::string group = GroupOf(line, comparison);
    if (group.empty()) {
      continue;
    }
    std::deque<const TraceLine*>& expected = groups[group];
    if (expected.empty() && trace.IsComplete()) {
      return TraceDifference{0, {}, ShowTraceLine(line)};
    }
    if (expected.empty()) {
      continue;
    }
    if (!IsSame(*expected.front(), line, comparison)) {
      return TraceDifference{expected.front()->nNumber, ShowTraceLine(*expected.front()), ShowTraceLine(line)};
    }
    expected.pop_front();
  }
  return FirstMissing(groups);
}

std::string ShowTraceLine(const TraceLine& line) {
  return fmt::format("{:>12}.{:03}  {:<8}  {}", line.nMicroseconds / 1000, line.nMicroseconds % 1000, line.channel,
                     photometer::platform::Printable(line.text));
}

}  // namespace host
