#include "FaultText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <iterator>
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
  /// The values without which it would do nothing, apart by spaces.
  std::string_view needed = {};
};

constexpr std::array CommandFaultKinds = {
    CommandFaultKind{{"silence", "the command is not carried out, and not answered"}, FaultKind::Silence},
    CommandFaultKind{{"silent-execution", "it is carried out, but not answered"}, FaultKind::SilentExecution},
    CommandFaultKind{{"late", "everything comes later, by delay=MS"}, FaultKind::Late, "delay=MS"},
    CommandFaultKind{
        {"error",
         "it is not carried out, and answered with an error; of a pump only: cycle and flush of the ZQ-410, "
         "answered with h3;a behind their time, and start of the ZQ-420, answered with s;f;N by count=N"},
        FaultKind::Error},
    CommandFaultKind{{"garbage", "it is carried out, and answered with text=TEXT"}, FaultKind::Garbage, "text=TEXT"},
    CommandFaultKind{
        {"split", "a pause in the answer, of delay=MS behind count=BYTES"}, FaultKind::Split, "delay=MS count=BYTES"},
    CommandFaultKind{{"surplus", "text=TEXT behind the answer"}, FaultKind::Surplus, "text=TEXT"},
    CommandFaultKind{
        {"lost", "count=BYTES of the answer are missing, from number first=N on"}, FaultKind::Lost, "count=BYTES"},
    CommandFaultKind{{"stale", "text=TEXT before the answer"}, FaultKind::StaleBefore, "text=TEXT"},
};

constexpr std::array StreamFaultKinds = {
    CommandFaultKind{{"no-trailer", "the three bytes behind the last reading are missing"}, FaultKind::NoTrailer},
    CommandFaultKind{{"late-trailer", "they come later, by delay=MS"}, FaultKind::LateTrailer, "delay=MS"},
    CommandFaultKind{{"surplus-points", "count=N readings too many"}, FaultKind::SurplusPoints, "count=N"},
    CommandFaultKind{{"stop-after", "the stream ends behind count=N readings"}, FaultKind::StopAfter, "count=N"},
};

/// A pump's fault that is none of a command.
struct PumpFaultKind {
  FaultForm form;
  simulator::PumpKind pump;  ///< the only one that can have it; None: each
  void (*apply)(simulator::Instrument& instrument, const simulator::Fault& values, simulator::Time now);
  std::string_view needed = {};
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
                  },
                  "count=N"},
    PumpFaultKind{
        {"flood", "text=TEXT over and over, without an end byte, from delay=MS on"}, simulator::PumpKind::None, Flood},
};

/// Who hears the commands.
enum class Hearer { Each, OpticalUnit, ZQ410, ZQ420 };

/// Commands that belong together.
struct LetterGroup {
  FaultForm form;
  std::string_view letters;
  Hearer hearer = Hearer::OpticalUnit;
};

constexpr std::array Letters = {
    LetterGroup{{"*", "any command"}, "*", Hearer::Each},
    LetterGroup{{"F r H", "optical unit: filter, mirror, shutter"}, "FrH"},
    LetterGroup{{"h d f", "halogen lamp, deuterium lamp, fan"}, "hdf"},
    LetterGroup{{"z M S", "home, move, speed of the monochromator"}, "zMS"},
    LetterGroup{{"(space)", "release of the monochromator's motor, as \"late: :delay=500\""}, " "},
    LetterGroup{{"o g A i", "power and gain of the detectors, converter speed, measurement length"}, "ogAi"},
    LetterGroup{{"a s v", "readings, stream of readings, version"}, "asv"},
    LetterGroup{{"T G t", "turbidity: power, gain, readings"}, "TGt"},
    LetterGroup{
        {"H V Y 1 2", "ZQ-410: parameters, version, answer to its keep-alive, cycle, flush"}, "HVY12", Hearer::ZQ410},
    LetterGroup{{"p d t s e", "ZQ-420: ping, data, running time, start, stop"}, "pdtse", Hearer::ZQ420},
};

template <typename Kinds>
std::vector<FaultForm> FormsOf(const Kinds& kinds) {
  std::vector<FaultForm> forms;
  forms.reserve(kinds.size());
  for (const auto& kind : kinds) {
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

std::vector<LetterGroup> LettersOf(Hearer hearer) {
  std::vector<LetterGroup> groups;
  std::copy_if(Letters.begin(), Letters.end(), std::back_inserter(groups),
               [hearer](const LetterGroup& group) { return group.hearer == hearer || group.hearer == Hearer::Each; });
  return groups;
}

/// Empty: the device has commands with this letter.
std::string ComplainAboutLetter(char letter, Hearer hearer) {
  const std::vector<LetterGroup> groups = LettersOf(hearer);
  if (std::any_of(groups.begin(), groups.end(), [letter](const LetterGroup& group) {
        return group.letters.find(letter) != std::string_view::npos;
      })) {
    return {};
  }
  const char* const name = hearer == Hearer::OpticalUnit ? "optical unit"
                           : hearer == Hearer::ZQ410     ? "ZQ-410"
                                                         : "ZQ-420";
  return fmt::format("no command of the {} has the letter \"{}\"; the letters are {}", name, letter,
                     Names(FormsOf(groups)));
}

/// Takes `name=value`; false: no such name, or no number.
bool TakeValue(const std::string& part, simulator::Fault& fault) {
  const std::size_t nEquals = std::min(part.find('='), part.size());
  const std::string name = part.substr(0, nEquals);
  if (nEquals == part.size()) {
    return false;
  }
  const std::string value = part.substr(nEquals + 1);
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

/// The first of the needed values that is not among the parts; empty: all are there.
std::string_view Missing(std::string_view needed, const std::vector<std::string>& parts) {
  while (!needed.empty()) {
    const std::string_view form = needed.substr(0, needed.find(' '));
    const std::string_view begin = form.substr(0, form.find('=') + 1);
    if (std::none_of(parts.begin(), parts.end(),
                     [begin](const std::string& part) { return part.starts_with(begin); })) {
      return form;
    }
    needed.remove_prefix(std::min(form.size() + 1, needed.size()));
  }
  return {};
}

std::string Lacks(const std::string& text, std::string_view form) {
  return fmt::format("\"{}\" lacks its value; add :{}", text, form);
}

/// A pump has an error for what it may fail at, and for nothing else. Empty: nothing is wrong.
std::string ComplainAboutError(const std::string& text, const simulator::Fault& fault, simulator::PumpKind pump) {
  if (fault.kind != FaultKind::Error) {
    return {};
  }
  const bool bZQ410 = pump == simulator::PumpKind::ZQ410;
  const std::string_view letters = bZQ410 ? "12" : "s";
  if (fault.letter != 0 && letters.find(fault.letter) == std::string_view::npos) {
    return fmt::format("\"{}\" cannot be used: {}", text,
                       bZQ410 ? "the ZQ-410 answers only its cycle and flush with an error; give error:1 or error:2"
                              : "the ZQ-420 answers only its start with an error; give error:s:count=N");
  }
  return bZQ410 || Missing("count=N", SplitAtColons(text)).empty() ? std::string() : Lacks(text, "count=N");
}

}  // namespace

std::vector<FaultForm> CommandFaults() { return FormsOf(CommandFaultKinds); }
std::vector<FaultForm> StreamFaults() { return FormsOf(StreamFaultKinds); }
std::vector<FaultForm> PumpFaults() { return FormsOf(PumpFaultKinds); }
std::vector<FaultForm> FaultLetters() { return FormsOf(Letters); }

namespace {

std::variant<simulator::Fault, std::string> ParseFaultOf(Hearer hearer, const std::string& text) {
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
  if (std::string complaint = ComplainAboutLetter(parts[1][0], hearer); !complaint.empty()) {
    return complaint;
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
  if (const std::string_view missing = Missing(pKind->needed, parts); !missing.empty()) {
    return Lacks(text, missing);
  }
  return fault;
}

std::string AddCommandFault(const std::string& text, simulator::Instrument& instrument) {
  const bool bZQ410 = instrument.pump == simulator::PumpKind::ZQ410;
  const auto fault = ParseFaultOf(bZQ410 ? Hearer::ZQ410 : Hearer::ZQ420, text);
  if (const auto* pComplaint = std::get_if<std::string>(&fault)) {
    return *pComplaint;
  }
  std::string complaint = ComplainAboutError(text, std::get<simulator::Fault>(fault), instrument.pump);
  if (complaint.empty()) {
    instrument.PumpLine()->Faults().Add(std::get<simulator::Fault>(fault));
  }
  return complaint;
}

}  // namespace

std::variant<simulator::Fault, std::string> ParseFault(const std::string& text) {
  return ParseFaultOf(Hearer::OpticalUnit, text);
}

std::string AddPumpFault(const std::string& text, simulator::Instrument& instrument, simulator::Time now) {
  if (instrument.PumpLine() == nullptr) {
    return "there is no pump that could have it; give --pump zq410 or zq420";
  }
  const std::vector<std::string> parts = SplitAtColons(text);
  const PumpFaultKind* pKind = FindKind(PumpFaultKinds, parts[0]);
  if (pKind == nullptr && FindKind(CommandFaultKinds, parts[0]) != nullptr) {
    return AddCommandFault(text, instrument);
  }
  if (pKind == nullptr) {
    return fmt::format("\"{}\" is no fault of a pump; give {}, {}", parts[0], Names(CommandFaults()),
                       Names(PumpFaults()));
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
  if (const std::string_view missing = Missing(pKind->needed, parts); !missing.empty()) {
    return Lacks(text, missing);
  }
  pKind->apply(instrument, values, now);
  return {};
}

}  // namespace common
