#include "Faults.h"

#include <algorithm>
#include <array>
#include <string>

#include "World.h"

namespace explorer {

namespace {

/// When faults begin and how long they last at most, ms: most within a start-up and a few procedures.
constexpr std::uint64_t LatestBegin = 120'000;
constexpr std::uint64_t LongestFault = 30'000;
/// Longer than the silence that the library accepts, µs.
constexpr std::uint64_t LongestDelay = 65'000'000;
constexpr std::uint64_t ShortDelay = 50'000;

constexpr std::string_view UnitLetters = "vogHFrzSMAhdfiasTGt ";
constexpr std::string_view ZQ410Letters = "HV12";
constexpr std::string_view ZQ420Letters = "pdtse";

constexpr const char16_t* CardFolder = u"\\SDMemory";
constexpr const char16_t* LogFolder = u"\\NANDFlash\\Logging";
constexpr const char16_t* FlashFolder = u"\\NANDFlash";
constexpr const char16_t* ProgramFolder = u"\\Application";

/// Where the numbers of a fault stand.
constexpr std::size_t Begin = 0;
constexpr std::size_t End = 1;
constexpr std::size_t Third = 2;
constexpr std::size_t Fourth = 3;

struct Kind {
  std::string_view name;
  unsigned nWeight;
  bool bLasts;
  void (*draw)(Draw& draw, Clause* pFault);
  void (*begin)(World& world, const Clause& fault);
  void (*end)(World& world, const Clause& fault);
};

void DrawTimes(Draw& draw, bool bLasts, Clause* pFault) {
  const std::uint64_t nBegin = draw.OneIn(4) ? 0 : draw.Below(LatestBegin);
  pFault->numbers = {static_cast<double>(nBegin)};
  if (bLasts) {
    pFault->numbers.push_back(static_cast<double>(nBegin + 1 + draw.Length(LongestFault)));
  }
}

void AddNumber(std::uint64_t n, Clause* pFault) { pFault->numbers.push_back(static_cast<double>(n)); }

template <std::uint64_t First, std::uint64_t Last>
void DrawNumber(Draw& draw, Clause* pFault) {
  AddNumber(First + draw.Below(Last - First + 1), pFault);
}

void DrawNone(Draw& /*draw*/, Clause* /*pFault*/) {}
void DoNothing(World& /*world*/, const Clause& /*fault*/) {}

// ---- answers on the lines ----

void DrawAnswer(Draw& draw, std::string_view letters, Clause* pFault) {
  using simulator::FaultKind;
  constexpr std::uint64_t Kinds = static_cast<std::uint64_t>(FaultKind::StopAfter) + 1;
  // More often than the others: a command whose answer is lost leaves a device that may believe the wrong thing.
  const bool bAnswerLost = draw.OneIn(3);
  AddNumber(bAnswerLost ? static_cast<std::uint64_t>(FaultKind::SilentExecution) : draw.Below(Kinds), pFault);
  AddNumber(draw.OneIn(3) ? 0 : static_cast<unsigned char>(letters[draw.Below(letters.size())]), pFault);
  AddNumber(1 + draw.Length(draw.OneIn(2) ? 8 : 100), pFault);
  AddNumber(draw.OneIn(4) ? draw.Below(LongestDelay) : draw.Below(ShortDelay), pFault);
  AddNumber(draw.Below(20), pFault);
  AddNumber(draw.Below(40), pFault);
  pFault->bytes = draw.OneIn(4) ? "ok\r\n" : draw.Bytes(40);
}

simulator::Fault AnswerOf(const Clause& fault) {
  simulator::Fault answer;
  answer.kind = static_cast<simulator::FaultKind>(fault.Count(1));
  answer.letter = static_cast<char>(fault.Count(2));
  answer.nth = fault.Whole(3);
  answer.delay = fault.Count(4);
  answer.count = static_cast<std::size_t>(fault.Count(5));
  answer.first = static_cast<std::size_t>(fault.Count(6));
  answer.bytes = fault.bytes;
  return answer;
}

// ---- the rest ----

std::u16string PortOf(const Clause& fault) {
  switch (fault.Count(Third)) {
    case 1:
      return World::ExternalPort;
    case 6:
      return World::SipperPort;
    default:
      return World::OpticalPort;
  }
}

void DrawPort(Draw& draw, Clause* pFault) {
  constexpr std::array<double, 4> Ports{2, 2, 1, 6};
  pFault->numbers.push_back(draw.Pick(Ports));
}

void DrawFailing(Draw& draw, Clause* pFault) {
  const std::uint64_t nWhat = draw.Below(FailingKinds);
  const bool bMany = nWhat == static_cast<std::uint64_t>(Failing::Writes);
  pFault->numbers = {0.0};
  AddNumber(nWhat, pFault);
  AddNumber(1 + draw.Below(bMany ? 400 : 20), pFault);
}

void SetLamps(World& world, double dHalogen, bool bDeuteriumLights) {
  simulator::InstrumentFaults faults = world.instrument.unit.Settings().faults;
  faults.halogenLevel = dHalogen;
  faults.bDeuteriumLights = bDeuteriumLights;
  world.instrument.unit.SetFaults(faults);
}

void SetDisksFull(World& world, bool bFull) {
  for (const char16_t* folder : {FlashFolder, ProgramFolder}) {
    world.board.SetDiskFull(folder, bFull);
  }
}

void DrawSize(Draw& draw, Clause* pFault) {
  constexpr std::array<double, 5> Sizes{10, 14, 20, 50, -1};
  pFault->numbers.push_back(draw.Pick(Sizes));
}

void DrawFlood(Draw& draw, Clause* pFault) {
  pFault->numbers[End] = pFault->numbers[Begin] + 1.0 + static_cast<double>(draw.Below(3000));
  AddNumber(draw.OneIn(2) ? 11520 : 1 + draw.Below(500), pFault);
  pFault->bytes = draw.Bytes(8);
}

bool HasPump(const Profile& profile, std::string_view name) {
  const bool bZQ410 = name.starts_with("zq410") || name.starts_with("key") || name == "quiet";
  const bool bZQ420 = name.starts_with("zq420") || name == "pump-fault";
  return (!bZQ410 || profile.bZQ410) && (!bZQ420 || profile.bZQ420);
}

// clang-format off
const std::array<Kind, 21> Kinds{{
    {"unit-answer", 20, false, [](Draw& d, Clause* p) { DrawAnswer(d, UnitLetters, p); },
     [](World& w, const Clause& f) { w.instrument.unit.WireFaults().Add(AnswerOf(f)); },
     [](World& w, const Clause&) { w.instrument.unit.WireFaults().Clear(); }},
    {"zq410-answer", 8, false, [](Draw& d, Clause* p) { DrawAnswer(d, ZQ410Letters, p); },
     [](World& w, const Clause& f) { w.zq410.Line().Faults().Add(AnswerOf(f)); },
     [](World& w, const Clause&) { w.zq410.Line().Faults().Clear(); }},
    {"zq420-answer", 8, false, [](Draw& d, Clause* p) { DrawAnswer(d, ZQ420Letters, p); },
     [](World& w, const Clause& f) { w.zq420.Line().Faults().Add(AnswerOf(f)); },
     [](World& w, const Clause&) { w.zq420.Line().Faults().Clear(); }},
    {"unit-off", 4, true, DrawNone,
     [](World& w, const Clause&) { w.instrument.unit.SwitchPower(w.board.Now(), false); },
     [](World& w, const Clause&) { w.instrument.unit.SwitchPower(w.board.Now(), true); }},
    {"zq410-off", 5, true, DrawNone,
     [](World& w, const Clause&) { w.zq410.SwitchPower(w.board.Now(), false); },
     [](World& w, const Clause&) { w.zq410.SwitchPower(w.board.Now(), true); }},
    {"zq420-off", 5, true, DrawNone,
     [](World& w, const Clause&) { w.zq420.SwitchPower(w.board.Now(), false); },
     [](World& w, const Clause&) { w.zq420.SwitchPower(w.board.Now(), true); }},
    {"unplug", 8, true, DrawPort,
     [](World& w, const Clause& f) { w.Unplug(PortOf(f)); },
     [](World& w, const Clause& f) { w.Plug(PortOf(f)); }},
    {"fail", 14, false, DrawFailing,
     [](World& w, const Clause& f) { w.watched.Failures().Add(static_cast<Failing>(f.Count(1)), f.Count(2)); },
     DoNothing},
    {"pin", 3, true, DrawNumber<10, 12>,
     [](World& w, const Clause& f) { w.instrument.holder.SetUnreadable(f.Whole(Third), true); },
     [](World& w, const Clause& f) { w.instrument.holder.SetUnreadable(f.Whole(Third), false); }},
    {"no-card", 3, true, DrawNone,
     [](World& w, const Clause&) { w.board.RemoveFolder(CardFolder); },
     [](World& w, const Clause&) { w.board.MakeFolder(CardFolder); }},
    {"no-folder", 2, true, DrawNone,
     [](World& w, const Clause&) { w.board.RemoveFolder(LogFolder); },
     [](World& w, const Clause&) { w.board.MakeFolder(LogFolder); }},
    {"full", 3, true, DrawNone,
     [](World& w, const Clause&) { SetDisksFull(w, true); },
     [](World& w, const Clause&) { SetDisksFull(w, false); }},
    {"halogen", 4, true, [](Draw& d, Clause* p) { p->numbers.push_back(d.OneIn(2) ? 0.0 : 0.01); },
     [](World& w, const Clause& f) { SetLamps(w, f.At(Third), w.instrument.unit.Settings().faults.bDeuteriumLights); },
     [](World& w, const Clause&) { SetLamps(w, 1.0, w.instrument.unit.Settings().faults.bDeuteriumLights); }},
    {"deuterium", 3, true, DrawNone,
     [](World& w, const Clause&) { SetLamps(w, w.instrument.unit.Settings().faults.halogenLevel, false); },
     [](World& w, const Clause&) { SetLamps(w, w.instrument.unit.Settings().faults.halogenLevel, true); }},
    {"cuvette", 6, true, DrawSize,
     [](World& w, const Clause& f) { w.instrument.holder.Insert(static_cast<int>(f.At(Third)), w.board.Now()); },
     [](World& w, const Clause&) { w.instrument.holder.Remove(w.board.Now()); }},
    {"unasked", 4, false, [](Draw& d, Clause* p) { p->bytes = d.OneIn(3) ? "ok\r\n" : d.Bytes(60); },
     [](World& w, const Clause& f) { w.instrument.unit.EmitUnasked(f.bytes, w.board.Now()); }, DoNothing},
    {"flood", 2, true, DrawFlood,
     [](World& w, const Clause& f) {
       const simulator::Time end = w.board.Now() + (f.Count(End) - f.Count(Begin)) * 1000;
       w.instrument.unit.Flood().Start(w.board.Now(), end, f.Count(Third), f.bytes);
     },
     [](World& w, const Clause&) { w.instrument.unit.Flood().Stop(); }},
    {"key-a", 2, false, DrawNone, [](World& w, const Clause&) { w.zq410.PressKeyA(w.board.Now()); }, DoNothing},
    {"key-b", 4, false, DrawNone, [](World& w, const Clause&) { w.zq410.PressKeyB(w.board.Now()); }, DoNothing},
    {"quiet", 3, false, DrawNone, [](World& w, const Clause&) { w.zq410.StopKeepAlive(w.board.Now()); },
     [](World& w, const Clause&) { w.zq410.StopKeepAlive(simulator::Never); }},
    {"pump-fault", 4, true, [](Draw& d, Clause* p) { DrawNumber<1, 7>(d, p); DrawNumber<0, 3'000'000>(d, p); },
     [](World& w, const Clause& f) { w.zq420.FailPumping(static_cast<int>(f.Count(Third)), f.Count(Fourth)); },
     [](World& w, const Clause&) { w.zq420.FailPumping(0, 0); }},
}};
// clang-format on

const Kind* FindKind(std::string_view name) {
  const auto found = std::find_if(Kinds.begin(), Kinds.end(), [name](const Kind& kind) { return kind.name == name; });
  return found == Kinds.end() ? nullptr : &*found;
}

}  // namespace

bool IsFault(std::string_view name) { return FindKind(name) != nullptr; }

FaultTimes TimesOf(const Clause& fault) {
  const Kind* pKind = FindKind(fault.name);
  FaultTimes times{fault.Count(Begin), std::nullopt};
  if (pKind != nullptr && pKind->bLasts) {
    times.nEnd = fault.Count(End);
  }
  return times;
}

void BeginFault(World& world, const Clause& fault) {
  if (const Kind* pKind = FindKind(fault.name)) {
    pKind->begin(world, fault);
  }
}

void EndFault(World& world, const Clause& fault) {
  if (const Kind* pKind = FindKind(fault.name)) {
    pKind->end(world, fault);
  }
}

Clause DrawFault(Draw& draw, const Profile& profile) {
  std::uint64_t nAll = 0;
  for (const Kind& kind : Kinds) {
    nAll += HasPump(profile, kind.name) ? kind.nWeight : 0;
  }
  std::uint64_t nDrawn = draw.Below(nAll);
  for (const Kind& kind : Kinds) {
    const std::uint64_t nWeight = HasPump(profile, kind.name) ? kind.nWeight : 0;
    if (nDrawn < nWeight) {
      Clause fault{std::string(kind.name), {}, {}};
      DrawTimes(draw, kind.bLasts, &fault);
      kind.draw(draw, &fault);
      return fault;
    }
    nDrawn -= nWeight;
  }
  return {};
}

}  // namespace explorer
