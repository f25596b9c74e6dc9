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

struct CommandFaultKind {
  FaultForm form;
  FaultKind kind;
};

constexpr std::array CommandFaultKinds = {
    CommandFaultKind{{"silence", "the command is not carried out, and not answered"}, FaultKind::Silence},
    CommandFaultKind{{"silent-execution", "it is carried out, but not answered"}, FaultKind::SilentExecution},
    CommandFaultKind{{"late", "everything comes later, by delay=MS"}, FaultKind::Late},
    CommandFaultKind{{"error",
                      "it is not carried out, and answered with an error; h3;a of the ZQ-410 behind the time of its "
                      "cycle, s;f;N of the ZQ-420 with count=N"},
                     FaultKind::Error},
    CommandFaultKind{{"garbage", "it is carried out, and answered with text=TEXT"}, FaultKind::Garbage},
    CommandFaultKind{{"split", "a pause in the answer, of delay=MS behind count=BYTES"}, FaultKind::Split},
    CommandFaultKind{{"surplus", "text=TEXT behind the answer"}, FaultKind::Surplus},
    CommandFaultKind{{"lost", "count=BYTES of the answer are missing, from number first=N on"}, FaultKind::Lost},
    CommandFaultKind{{"stale", "text=TEXT before the answer"}, FaultKind::StaleBefore},
};

constexpr std::array StreamFaultKinds = {
    CommandFaultKind{{"no-trailer", "the three bytes behind the last reading are missing"}, FaultKind::NoTrailer},
    CommandFaultKind{{"late-trailer", "they come later, by delay=MS"}, FaultKind::LateTrailer},
    CommandFaultKind{{"surplus-points", "count=N readings too many"}, FaultKind::SurplusPoints},
    CommandFaultKind{{"stop-after", "the stream ends behind count=N readings"}, FaultKind::StopAfter},
};

/// A pump's fault that is none of a command.
struct PumpFaultKind {
  FaultForm form;
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
    PumpFaultKind{{"keep-alive-stops", "the ZQ-410 no longer says that it is there, from delay=MS on"},
                  simulator::PumpKind::ZQ410,
                  [](simulator::Instrument& instrument, const simulator::Fault& values, simulator::Time now) {
                    instrument.zq410.StopKeepAlive(now + values.delay);
                  }},
    PumpFaultKind{{"pumping", "the ZQ-420 reports p;f;N, count=N, by delay=MS behind each start"},
                  simulator::PumpKind::ZQ420,
                  [](simulator::Instrument& instrument, const simulator::Fault& values, simulator::Time) {
                    instrument.zq420.FailPumping(static_cast<int>(values.count), values.delay);
                  }},
    PumpFaultKind{
        {"flood", "text=TEXT over and over, without an end byte, from delay=MS on"}, simulator::PumpKind::None, Flood},
};

constexpr std::array Letters = {
    FaultForm{"*", "any command"},
    FaultForm{"F r H", "optical unit: filter, mirror, shutter"},
    FaultForm{"h d f", "halogen lamp, deuterium lamp, fan"},
    FaultForm{"z M S", "home, move, speed of the monochromator"},
    FaultForm{"o g A i", "power and gain of the detectors, converter speed, measurement length"},
    FaultForm{"a s v", "readings, stream of readings, version"},
    FaultForm{"T G t", "turbidity: power, gain, readings"},
    FaultForm{"H V Y 1 2", "ZQ-410: parameters, version, answer to its keep-alive, cycle, flush"},
    FaultForm{"p d t s e", "ZQ-420: ping, data, running time, start, stop"},
};

template <typename Kind, std::size_t Count>
std::vector<FaultForm> FormsOf(const std::array<Kind, Count>& kinds) {
  std::vector<FaultForm> forms;
  forms.reserve(Count);
  for (const Kind& kind : kinds) {
    forms.push_back(kind.form);
  }
  return forms;
}

template <typename Kind, std::size_t Count>
const Kind* FindKind(const std::array<Kind, Count>& kinds, const std::string& name) {
  const auto kind =
      std::find_if(kinds.begin(), kinds.end(), [&name](const Kind& one) { return one.form.name == name; });
  return kind == kinds.end() ? nullptr : &*kind;
}

std::string Names(const std::vector<FaultForm>& forms) {
  std::string names;
  for (const FaultForm& form : forms) {
    names += (names.empty() ? "" : ", ") + std::string(form.name);
  }
  return names;
}

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

std::vector<FaultForm> CommandFaults() { return FormsOf(CommandFaultKinds); }
std::vector<FaultForm> StreamFaults() { return FormsOf(StreamFaultKinds); }
std::vector<FaultForm> PumpFaults() { return FormsOf(PumpFaultKinds); }
std::vector<FaultForm> FaultLetters() { return {Letters.begin(), Letters.end()}; }

std::variant<simulator::Fault, std::string> ParseFault(const std::string& text) {
  const std::vector<std::string> parts = SplitAtColons(text);
  const CommandFaultKind* pCommand = FindKind(CommandFaultKinds, parts[0]);
  const CommandFaultKind* pKind = pCommand != nullptr ? pCommand : FindKind(StreamFaultKinds, parts[0]);
  if (pKind == nullptr) {
    return fmt::format("\"{}\" is no kind of fault; give {}, {}", parts[0], Names(CommandFaults()),
                       Names(StreamFaults()));
  }
  if (parts.size() < 2 || parts[1].size() != 1) {
    return fmt::format("the command's letter is missing; {}", Form);
  }
  simulator::Fault fault;
  fault.kind = pKind->kind;
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
  const PumpFaultKind* pKind = FindKind(PumpFaultKinds, parts[0]);
  if (pKind == nullptr) {
    if (FindKind(CommandFaultKinds, parts[0]) == nullptr) {
      return fmt::format("\"{}\" is no fault of a pump; give {}, {}", parts[0], Names(CommandFaults()),
                         Names(PumpFaults()));
    }
    const auto fault = ParseFault(text);
    if (const auto* pComplaint = std::get_if<std::string>(&fault)) {
      return *pComplaint;
    }
    instrument.PumpLine()->Faults().Add(std::get<simulator::Fault>(fault));
    return {};
  }
  if (pKind->pump != simulator::PumpKind::None && pKind->pump != instrument.pump) {
    return fmt::format("\"{}\" is a fault of the other pump", pKind->form.name);
  }
  simulator::Fault values;
  for (std::size_t i = 1; i < parts.size(); ++i) {
    if (!TakeValue(parts[i], values)) {
      return fmt::format("\"{}\" cannot be used; write {}:NAME=VALUE with delay (ms), count or text", parts[i],
                         parts[0]);
    }
  }
  pKind->apply(instrument, values, now);
  return {};
}

}  // namespace common
