#include "Run.h"

#include <algorithm>

#include "Host.h"
#include "Memory.h"
#include "Properties.h"
#include "World.h"
#include "platform/Platform.h"
#include "platform/Sanitizers.h"
#include "platform/virtual/PriorityPolicy.h"
#include "platform/virtual/ReplayPolicy.h"

namespace explorer {

using photometer::platform::Policy;
using photometer::platform::UnobservedScope;
using photometer::platform::VirtualBoardOptions;

namespace {

constexpr std::size_t LinesKept = 60;
/// What the standard library may keep for itself, and the bounded buffers of three ports with all else, bytes.
constexpr std::int64_t LeftLimit = 16384;
constexpr std::int64_t MostLimit = std::int64_t{64} * 1024 * 1024;
/// For the unit to carry out what it was told last, ms.
constexpr DWORD LookPeriod = 50;
constexpr DWORD UnitIdleLimit = 60'000;

VirtualBoardOptions BoardOptions(const RunOptions& options) {
  VirtualBoardOptions board;
  board.seed = options.seed;
  board.bRecordDecisions = options.bRecordDecisions;
  if (options.pPolicy) {
    board.pPolicy = options.pPolicy;
    board.varyTimes = false;
  } else if (options.decisions) {
    board.pPolicy = std::make_shared<photometer::platform::ReplayPolicy>(*options.decisions);
  } else if (options.scheduling == Scheduling::Priority) {
    const photometer::platform::PriorityOptions priority{options.nDepth, options.nSteps, false};
    board.pPolicy = std::make_shared<photometer::platform::PriorityPolicy>(options.seed, priority);
    board.varyTimes = true;
  } else {
    board.policy = options.scheduling == Scheduling::Random ? Policy::Random : Policy::FirstCome;
    board.bHoldUps = options.scheduling == Scheduling::Random;
  }
  return board;
}

/// The unit's lamps and fan are off once it has carried out everything.
bool IsUnitDark(World& world) {
  for (DWORD dwWaited = 0; dwWaited < UnitIdleLimit; dwWaited += LookPeriod) {
    photometer::platform::Sleep(LookPeriod);
    const UnobservedScope scope;
    if (world.instrument.unit.IsIdle()) {
      break;
    }
  }
  const UnobservedScope scope;
  const simulator::OpticalUnitState state = world.instrument.unit.State();
  return state.halogen == 0 && !state.bDeuterium && state.fan == 0;
}

void Play(const Plan& plan, const RunOptions& options, Outcome* pOutcome) {
  World world(plan, {BoardOptions(options), options.bTrace});
  world.board.OnDeadlock([&](const std::string& report) {
    if (options.onDeadlock) {
      options.onDeadlock({"board rules", report});
    }
  });
  bool bDark = true;
  {
    Host host(world);
    host.RunProgramme();
    // Whoever puts things in order himself does it after the end.
    if (plan.bRecovery && !options.onHeal) {
      host.StartAgain();
    }
    if (!options.onHeal) {
      host.CheckLamp();
    }
    host.Close();
    if (options.onHeal) {
      options.onHeal();
    }
    if (plan.bRecovery) {
      host.Recover();
      bDark = IsUnitDark(world);
    } else {
      world.Heal();
    }
  }
  pOutcome->violations = Judge({world.ledger, FindRuns(world.ledger), world.board.Reports(), world.board.Leftovers(),
                                bDark, !options.onHeal && world.IsLineSound(), world.IsSystemSound()});
  pOutcome->nHash = world.board.Hash() * 31 + world.ledger.Hash();
  pOutcome->nPoints = world.board.Points();
  pOutcome->nMicroseconds = world.board.Now();
  pOutcome->decisions = world.board.Decisions();
  if (options.onEnd) {
    options.onEnd(world.ledger);
  }
  if (options.bTrace) {
    std::vector<std::string> lines = world.transcript.Lines();
    lines.erase(lines.begin(), lines.end() - static_cast<std::ptrdiff_t>(std::min(lines.size(), LinesKept)));
    pOutcome->lines = lines;
  }
}

}  // namespace

Outcome RunPlan(const Plan& plan, const RunOptions& options) {
  Outcome outcome;
  const std::int64_t nBefore = BytesAllocated();
  ForgetMostBytes();
  Play(plan, options, &outcome);
  // What the outcome itself holds is nobody's leak.
  const std::int64_t nLeft = BytesAllocated() - nBefore;
  if (outcome.violations.empty() && outcome.decisions.empty() && outcome.lines.empty() && nLeft > LeftLimit) {
    outcome.violations.push_back({"flat memory", "the run left " + std::to_string(nLeft) + " bytes allocated"});
  }
  if (MostBytesAllocated() - nBefore > MostLimit) {
    outcome.violations.push_back(
        {"flat memory", "the run had " + std::to_string(MostBytesAllocated() - nBefore) + " bytes allocated at once"});
  }
  return outcome;
}

std::optional<Scheduling> ParseScheduling(std::string_view name) {
  if (name == "first-come") {
    return Scheduling::FirstCome;
  }
  if (name == "random") {
    return Scheduling::Random;
  }
  return name == "pct" ? std::optional(Scheduling::Priority) : std::nullopt;
}

}  // namespace explorer
