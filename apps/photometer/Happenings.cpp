#include "Happenings.h"

#include <algorithm>
#include <array>

#include <fmt/format.h>

#include "../common/SampleName.h"
#include "Duration.h"

namespace host {

namespace {

using simulator::PumpKind;

constexpr simulator::Time MicrosecondsPerSecond = 1'000'000;
constexpr const char16_t* SipperPortName = u"COM6:";

/// A ZQ-410 loses its power; the cable of a ZQ-420's port is pulled out.
void PlugPump(SimulatedInstrument& instrument, bool bIn) {
  simulator::Instrument& model = instrument.Model();
  if (model.pump == PumpKind::ZQ410) {
    model.zq410.SwitchPower(instrument.Now(), bIn);
  } else if (bIn) {
    instrument.Board().PlugPort(SipperPortName, model.zq420);
  } else {
    instrument.Board().UnplugPort(SipperPortName);
  }
}

bool Always(PumpKind /*pump*/) { return true; }
bool AnyPump(PumpKind pump) { return pump != PumpKind::None; }
bool NoPumpThere(PumpKind pump) { return pump != PumpKind::ZQ410; }
bool ZQ410Only(PumpKind pump) { return pump == PumpKind::ZQ410; }

}  // namespace

struct Happenings::Kind {
  std::string_view name;
  bool (*isPossible)(PumpKind pump);
  void (*apply)(SimulatedInstrument& instrument, const std::string& text);
};

const Happenings::Kind* Happenings::Find(const std::string& name) {
  using Instrument = SimulatedInstrument;
  static constexpr std::array Kinds = {
      Kind{"insert", Always, [](Instrument& instrument, const std::string& text) { instrument.InsertSample(text); }},
      Kind{"remove", Always,
           [](Instrument& instrument, const std::string&) { instrument.Model().RemoveCuvette(instrument.Now()); }},
      Kind{"key-a", ZQ410Only,
           [](Instrument& instrument, const std::string&) { instrument.Model().zq410.PressKeyA(instrument.Now()); }},
      Kind{"key-b", ZQ410Only,
           [](Instrument& instrument, const std::string&) { instrument.Model().zq410.PressKeyB(instrument.Now()); }},
      Kind{"unplug-pump", AnyPump, [](Instrument& instrument, const std::string&) { PlugPump(instrument, false); }},
      Kind{"plug-pump", AnyPump, [](Instrument& instrument, const std::string&) { PlugPump(instrument, true); }},
      Kind{"say", NoPumpThere,
           [](Instrument& instrument, const std::string& text) {
             instrument.Model().echo.Say(instrument.Now(), text + "\r\n");
           }},
  };
  const auto kind = std::find_if(Kinds.begin(), Kinds.end(), [&name](const Kind& one) { return one.name == name; });
  return kind == Kinds.end() ? nullptr : &*kind;
}

std::string Happenings::Plan(const std::string& text, PumpKind pump) {
  const std::size_t nTime = text.find(':');
  const std::optional<photometer::DWORD> seconds = ParseDuration(text.substr(0, nTime));
  if (!seconds || nTime == std::string::npos) {
    return fmt::format("\"{}\" does not begin with a time; give TIME:WHAT, as 10s:insert", text);
  }
  const std::string what = text.substr(nTime + 1);
  const std::size_t nName = what.find(':');
  const Kind* pKind = Find(what.substr(0, nName));
  if (pKind == nullptr) {
    return fmt::format("there is no \"{}\"; give {}", what, HappeningNames);
  }
  if (!pKind->isPossible(pump)) {
    return fmt::format("\"{}\" cannot happen with what --pump has attached", what);
  }
  const std::string rest = nName == std::string::npos ? std::string() : what.substr(nName + 1);
  if (pKind == Find("insert") && !rest.empty() && !common::FindSample(rest)) {
    return fmt::format("\"{}\" is no sample; give {}", rest, common::SampleNames);
  }
  m_Planned.push_back({*seconds * MicrosecondsPerSecond, pKind, rest, false});
  return {};
}

void Happenings::Step(SimulatedInstrument& instrument) {
  for (Happening& happening : m_Planned) {
    if (!happening.bDone && instrument.Now() >= m_begin + happening.after) {
      happening.bDone = true;
      happening.pKind->apply(instrument, happening.strText.empty() ? m_strSample : happening.strText);
    }
  }
}

}  // namespace host
