#include "FaultText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

#include <fmt/format.h>

namespace common {

namespace {

using simulator::FaultKind;

struct KindName {
  std::string_view name;
  FaultKind kind;
};

constexpr std::array Kinds = {
    KindName{"silence", FaultKind::Silence},   KindName{"silent-execution", FaultKind::SilentExecution},
    KindName{"late", FaultKind::Late},         KindName{"error", FaultKind::Error},
    KindName{"garbage", FaultKind::Garbage},   KindName{"split", FaultKind::Split},
    KindName{"surplus", FaultKind::Surplus},   KindName{"lost", FaultKind::Lost},
    KindName{"stale", FaultKind::StaleBefore},
};

/// A pump's fault that is none of a command.
struct PumpFaultKind {
  std::string_view name;
  simulator::PumpKind pump;  ///< the only one that can have it; None: each
  void (*apply)(simulator::Instrument& instrument, const simulator::Fault& values, simulator::Time now);
};

// Half of what the line carries: other bytes find their place in between.
constexpr std::uint64_t FloodRate = 960;

void Flood(simulator::Instrument& instrument, const simulator::Fault& values, simulator::Time now) {
  const std::string pattern = values.bytes.empty() ? "~" : values.bytes;
  instrument.PumpLine()->Flood().Start(now + values.delay, simulator::Never, FloodRate, pattern);
}

constexpr std::array PumpFaultKinds = {
    PumpFaultKind{"keep-alive-stops", simulator::PumpKind::ZQ410,
                  [](simulator::Instrument& instrument, const simulator::Fault& values, simulator::Time now) {
                    instrument.zq410.StopKeepAlive(now + values.delay);
                  }},
    PumpFaultKind{"pumping", simulator::PumpKind::ZQ420,
                  [](simulator::Instrument& instrument, const simulator::Fault& values, simulator::Time) {
                    instrument.zq420.FailPumping(static_cast<int>(values.count), values.delay);
                  }},
    PumpFaultKind{"flood", simulator::PumpKind::None, Flood},
};

constexpr const char* Form = "write KIND:LETTER[:NTH][:NAME=VALUE], as late:a:2:delay=500";

std::vector<std::string> SplitAtColons(const std::string& text) {
  std::vector<std::string> parts;
  for (std::size_t nStart = 0; nStart <= text.size();) {
    const std::size_t nColon = std::min(text.find(':', nStart), text.size());
    parts.push_back(text.substr(nStart, nColon - nStart));
    nStart = nColon + 1;
  }
  return parts;
}

std::optional<std::uint32_t> ParseNumber(std::string_view text) {
  std::uint32_t dwNumber = 0;
  const auto [pStop, error] = std::from_chars(text.data(), text.data() + text.size(), dwNumber);
  return error == std::errc() && pStop == text.data() + text.size() ? std::optional(dwNumber) : std::nullopt;
}

/// Takes `name=value`; false: no such name, or no number.
bool TakeValue(const std::string& part, simulator::Fault& fault) {
  const std::size_t nEquals = std::min(part.find('='), part.size());
  const std::string name = part.substr(0, nEquals);
  const std::string value = nEquals < part.size() ? part.substr(nEquals + 1) : "";
  if (name == "text") {
    fault.bytes = value;
    return true;
  }
  const std::optional<std::uint32_t> number = ParseNumber(value);
  if (number && name == "delay") {
    fault.delay = simulator::Time{*number} * 1000;
  } else if (number && name == "count") {
    fault.count = *number;
  } else if (number && name == "first") {
    fault.first = *number;
  } else {
    return false;
  }
  return true;
}

}  // namespace

std::variant<simulator::Fault, std::string> ParseFault(const std::string& text) {
  const std::vector<std::string> parts = SplitAtColons(text);
  const auto kind =
      std::find_if(Kinds.begin(), Kinds.end(), [&parts](const KindName& one) { return one.name == parts[0]; });
  if (kind == Kinds.end()) {
    return fmt::format("\"{}\" is no kind of fault; {}", parts[0], Form);
  }
  if (parts.size() < 2 || parts[1].size() != 1) {
    return fmt::format("the command's letter is missing; {}", Form);
  }
  simulator::Fault fault;
  fault.kind = kind->kind;
  fault.letter = parts[1] == "*" ? '\0' : parts[1][0];
  for (std::size_t i = 2; i < parts.size(); ++i) {
    const std::optional<std::uint32_t> nth = parts[i] == "*" ? std::optional(0U) : ParseNumber(parts[i]);
    if (i == 2 && nth) {
      fault.nth = *nth;
    } else if (!TakeValue(parts[i], fault)) {
      return fmt::format("\"{}\" cannot be used; {}", parts[i], Form);
    }
  }
  return fault;
}

std::string AddPumpFault(const std::string& text, simulator::Instrument& instrument, simulator::Time now) {
  if (instrument.PumpLine() == nullptr) {
    return "there is no pump that could have it; give --pump zq410 or zq420";
  }
  const std::vector<std::string> parts = SplitAtColons(text);
  const auto kind = std::find_if(PumpFaultKinds.begin(), PumpFaultKinds.end(),
                                 [&parts](const PumpFaultKind& one) { return one.name == parts[0]; });
  if (kind == PumpFaultKinds.end()) {
    const auto fault = ParseFault(text);
    if (const auto* pComplaint = std::get_if<std::string>(&fault)) {
      return *pComplaint + "; of a pump also keep-alive-stops, pumping, flood";
    }
    instrument.PumpLine()->Faults().Add(std::get<simulator::Fault>(fault));
    return {};
  }
  if (kind->pump != simulator::PumpKind::None && kind->pump != instrument.pump) {
    return fmt::format("\"{}\" is a fault of the other pump", kind->name);
  }
  simulator::Fault values;
  for (std::size_t i = 1; i < parts.size(); ++i) {
    if (!TakeValue(parts[i], values)) {
      return fmt::format("\"{}\" cannot be used; write {}:NAME=VALUE with delay (ms), count or text", parts[i],
                         parts[0]);
    }
  }
  kind->apply(instrument, values, now);
  return {};
}

}  // namespace common
