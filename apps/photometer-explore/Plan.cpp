#include "Plan.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <limits>

#include "Draw.h"
#include "Faults.h"
#include "Operations.h"

namespace explorer {

namespace {

/// Ticks just before the counter wraps, in one run of so many.
constexpr std::uint64_t WrapOneIn = 3;
constexpr std::int64_t WrapWithin = 60'000;
constexpr std::uint32_t OrdinaryTick = 1000;

constexpr std::uint64_t MostSteps = 12;
constexpr std::uint64_t MostFaults = 6;
/// The later callbacks of a run are rarely reached.
constexpr std::uint64_t LatestCallback = 80;
constexpr std::uint64_t LatestPoint = 60'000;
constexpr std::uint64_t LongestWait = 4000;
constexpr std::uint64_t LongestSequel = 2000;

struct ActorName {
  Actor actor;
  std::string_view name;
};
constexpr std::array<ActorName, 5> ActorNames{{{Actor::Host, "host"},
                                               {Actor::Second, "second"},
                                               {Actor::Third, "third"},
                                               {Actor::Callback, "callback"},
                                               {Actor::Point, "point"}}};

std::string_view NameOf(Actor actor) { return std::ranges::find(ActorNames, actor, &ActorName::actor)->name; }

// ---- drawing ----

Profile DrawProfile(std::uint64_t seed) {
  Draw draw(seed, Subject::Instrument);
  Profile profile;
  profile.seed = seed;
  profile.bUV = !draw.OneIn(4);
  profile.iOffset = static_cast<int>(draw.Between(-5, 5));
  profile.bNoise = draw.OneIn(16);  // drawing the noise costs ten times what all else does
  profile.dwOperatingMode = static_cast<std::uint32_t>(draw.Below(3));
  profile.bZQ410 = profile.dwOperatingMode == 1 ? !draw.OneIn(6) : draw.OneIn(3);
  profile.bZQ420 = profile.dwOperatingMode == 2 ? !draw.OneIn(6) : draw.OneIn(3);
  profile.dwPumpTime = static_cast<std::uint32_t>(draw.Below(4));
  profile.dwDelayTime = static_cast<std::uint32_t>(draw.Below(3));
  profile.dwWarmUpTime = static_cast<std::uint32_t>(1 + draw.Below(6));
  profile.dwUVSessionTime = draw.OneIn(2) ? 5 : 600;
  profile.dwCheckInterval = draw.OneIn(4) ? 1 : 0;
  profile.dwBounce = static_cast<std::uint32_t>(draw.Below(20));
  profile.iCuvette = draw.OneIn(4) ? 10 : 0;
  profile.dwZeros = static_cast<std::uint32_t>(1 + draw.Below(3));
  Draw board(seed, Subject::Board);
  profile.dwStartTick =
      board.OneIn(WrapOneIn) ? static_cast<std::uint32_t>(-board.Between(0, WrapWithin)) : OrdinaryTick;
  return profile;
}

bool IsLifecycle(std::string_view name) { return name == "initialize" || name == "shutdown" || name == "release"; }

/// A device that is up is what most operations need: the host starts it first, and waits for it most of the time.
void BeginProgramme(Draw& draw, Plan* pPlan) {
  pPlan->steps.push_back({Actor::Host, 0, {"initialize", {2}, {}}});
  if (!draw.OneIn(5)) {
    pPlan->steps.push_back({Actor::Host, 0, {"insert-cuvette", {0}, {}}});
    pPlan->steps.push_back({Actor::Host, 0, {"wait-idle", {120'000}, {}}});
  }
  if (draw.OneIn(3)) {
    pPlan->steps.push_back({Actor::Host, 0, {"insert-cuvette", {10}, {}}});
  }
}

Step DrawStep(Draw& draw, Draw& requests, const Profile& profile) {
  const std::uint64_t nWho = draw.Below(20);
  Step step;
  step.nWhen = draw.OneIn(2) ? 0 : draw.Length(LongestWait);
  if (nWho >= 18) {
    step.actor = Actor::Point;
    step.nWhen = 1 + draw.Below(LatestPoint);
  } else if (nWho >= 16) {
    step.actor = Actor::Callback;
    step.nWhen = 1 + draw.Below(LatestCallback);
  } else if (nWho >= 12) {
    step.actor = nWho >= 14 ? Actor::Third : Actor::Second;
    step.nWhen = draw.Length(LongestWait * 8);
  }
  step.operation = DrawOperation(draw, requests, profile);
  // Bringing the device up and down is the main thread's, mostly.
  if (IsLifecycle(step.operation.name) && step.actor == Actor::Host && draw.OneIn(2)) {
    step.operation = {"cancel", {}, {}};
  }
  return step;
}

/// What soon comes to nothing by a second thought: the device is started again while the unit is still at something,
/// the lamp goes off while it is about to be lit.
std::optional<Clause> SequelOf(const Clause& operation) {
  if (operation.name == "shutdown") {
    return Clause{"initialize", {2}, {}};
  }
  return operation.name == "uv-lamp" && operation.Is(0) ? std::optional(Clause{"uv-lamp", {0, 1}, {}}) : std::nullopt;
}

void AddSequels(std::uint64_t seed, std::vector<Step>* pSteps) {
  Draw draw(seed, Subject::Sequels);
  for (std::size_t i = 0; i < pSteps->size(); ++i) {
    const Step& step = (*pSteps)[i];
    const std::optional<Clause> sequel = SequelOf(step.operation);
    if (!sequel || step.actor == Actor::Callback || step.actor == Actor::Point || draw.OneIn(2)) {
      continue;
    }
    const std::uint64_t nWhen = draw.OneIn(2) ? 0 : draw.Below(LongestSequel);
    pSteps->insert(pSteps->begin() + static_cast<std::ptrdiff_t>(i) + 1, Step{step.actor, nWhen, *sequel});
  }
}

}  // namespace

Plan DrawPlan(std::uint64_t seed, const PlanOptions& options) {
  Plan plan;
  plan.profile = DrawProfile(seed);
  Draw draw(seed, Subject::Programme);
  Draw requests(seed, Subject::Requests);
  for (std::uint64_t n = draw.OneIn(4) ? draw.Below(3) : 0; n > 0; --n) {
    plan.steps.push_back({Actor::Host, 0, DrawOperation(draw, requests, plan.profile)});
  }
  BeginProgramme(draw, &plan);
  for (std::uint64_t n = 1 + draw.Below(MostSteps); n > 0; --n) {
    plan.steps.push_back(DrawStep(draw, requests, plan.profile));
  }
  AddSequels(seed, &plan.steps);
  if (options.bFaults) {
    Draw faults(seed, Subject::Faults);
    for (std::uint64_t n = faults.Below(MostFaults); n > 0; --n) {
      plan.faults.push_back(DrawFault(faults, plan.profile));
    }
  }
  return plan;
}

// ---- text ----

namespace {

/// A field of the profile as a number, and from one.
struct Field {
  std::string_view name;
  double (*get)(const Profile& profile);
  void (*set)(Profile* pProfile, const Clause& clause);
};

/// The number as a field has it: cut to what fits, and 0 for what is none.
template <typename Type>
Type Kept(double dNumber) {
  constexpr auto Lowest = std::numeric_limits<Type>::lowest();
  constexpr auto Highest = std::numeric_limits<Type>::max();
  if (std::isnan(dNumber)) {
    return Type{};
  }
  // As a double, the highest value of 64 bits is one more than that.
  if (dNumber >= static_cast<double>(Highest)) {
    return Highest;
  }
  return dNumber <= static_cast<double>(Lowest) ? Lowest : static_cast<Type>(dNumber);
}

template <auto Member>
constexpr Field NumberField(std::string_view name) {
  using Type = std::remove_cvref_t<decltype(std::declval<Profile>().*Member)>;
  return {name, [](const Profile& profile) { return static_cast<double>(profile.*Member); },
          [](Profile* pProfile, const Clause& clause) { pProfile->*Member = Kept<Type>(clause.At(0)); }};
}

constexpr std::array<Field, 16> Fields{
    {NumberField<&Profile::seed>("seed"), NumberField<&Profile::bUV>("uv"), NumberField<&Profile::iOffset>("offset"),
     NumberField<&Profile::bNoise>("noise"), NumberField<&Profile::bZQ410>("zq410"),
     NumberField<&Profile::bZQ420>("zq420"), NumberField<&Profile::dwOperatingMode>("mode"),
     NumberField<&Profile::dwPumpTime>("pump-time"), NumberField<&Profile::dwDelayTime>("delay-time"),
     NumberField<&Profile::dwWarmUpTime>("warm-up"), NumberField<&Profile::dwUVSessionTime>("uv-session-time"),
     NumberField<&Profile::dwCheckInterval>("check-interval"), NumberField<&Profile::dwBounce>("bounce"),
     NumberField<&Profile::iCuvette>("cuvette"), NumberField<&Profile::dwStartTick>("start-tick"),
     NumberField<&Profile::dwZeros>("zeros")}};

bool Refuse(std::string* pWrong, const std::string& text) {
  *pWrong = text;
  return false;
}

bool TakeProfile(std::string_view rest, Plan* pPlan, std::string* pWrong) {
  const std::optional<Clause> clause = ParseClause(rest);
  const auto field = clause ? std::ranges::find(Fields, clause->name, &Field::name) : Fields.end();
  if (field == Fields.end() || clause->numbers.size() != 1) {
    return Refuse(pWrong, "a profile's field has a known name and one number");
  }
  field->set(&pPlan->profile, *clause);
  return true;
}

bool TakeStep(std::string_view rest, Plan* pPlan, std::string* pWrong) {
  const std::vector<std::string_view> words = Words(rest);
  const auto actor = words.size() < 3 ? ActorNames.end() : std::ranges::find(ActorNames, words[0], &ActorName::name);
  if (actor == ActorNames.end()) {
    return Refuse(pWrong, "a step is: who (host, second, third, callback, point), when, operation");
  }
  Step step{actor->actor, 0, {}};
  const auto [pEnd, error] = std::from_chars(words[1].data(), words[1].data() + words[1].size(), step.nWhen);
  const std::optional<Clause> operation =
      ParseClause(rest.substr(static_cast<std::size_t>(words[2].data() - rest.data())));
  if (error != std::errc() || pEnd != words[1].data() + words[1].size() || !operation ||
      FindOperation(operation->name) == nullptr) {
    return Refuse(pWrong, "a step's time is a whole number, and its operation a known one");
  }
  step.operation = *operation;
  pPlan->steps.push_back(step);
  return true;
}

bool TakeFault(std::string_view rest, Plan* pPlan, std::string* pWrong) {
  const std::optional<Clause> fault = ParseClause(rest);
  if (!fault || !IsFault(fault->name)) {
    return Refuse(pWrong, "a fault has a known name, numbers, and bytes in hexadecimal");
  }
  pPlan->faults.push_back(*fault);
  return true;
}

}  // namespace

std::string ToText(const Plan& plan) {
  std::string text;
  for (const Field& field : Fields) {
    text += "profile " + ToText(Clause{std::string(field.name), {field.get(plan.profile)}, {}}) + '\n';
  }
  for (const Step& step : plan.steps) {
    text += "step " + std::string(NameOf(step.actor)) + ' ' + std::to_string(step.nWhen) + ' ' +
            ToText(step.operation) + '\n';
  }
  for (const Clause& fault : plan.faults) {
    text += "fault " + ToText(fault) + '\n';
  }
  return text + "recovery " + (plan.bRecovery ? "1\n" : "0\n");
}

bool TakePlanLine(std::string_view line, Plan* pPlan, std::string* pWrong) {
  const std::size_t nEnd = std::min(line.find(' '), line.size());
  const std::string_view key = line.substr(0, nEnd);
  const std::string_view rest = line.substr(std::min(nEnd + 1, line.size()));
  if (key == "profile") {
    return TakeProfile(rest, pPlan, pWrong);
  }
  if (key == "step") {
    return TakeStep(rest, pPlan, pWrong);
  }
  if (key == "fault") {
    return TakeFault(rest, pPlan, pWrong);
  }
  if (key == "recovery") {
    pPlan->bRecovery = rest == "1";
    return true;
  }
  return Refuse(pWrong, "\"" + std::string(key) + "\" is no line of a plan");
}

}  // namespace explorer
