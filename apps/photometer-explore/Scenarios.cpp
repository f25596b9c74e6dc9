#include "Scenarios.h"

#include <algorithm>
#include <array>
#include <stdexcept>

namespace explorer {

namespace {

/// A procedure, and the event that its end is known by; without one nothing is tried against its end.
struct Procedure {
  std::string_view name;
  /// Behind a start-up, but for the start-up itself.
  std::string_view steps;
  EventKind kind;
  std::string_view event;
  std::int64_t b;
  std::size_t nNth;
};

/// The programme goes on until what it began is over: the disturbance belongs to it.
constexpr std::string_view WaitSteps = "step host 0 wait-idle 120000\n";

constexpr std::string_view StartUpSteps = "step host 0 initialize 2\nstep host 0 wait-idle 120000\n";

constexpr std::array<Procedure, 21> Procedures{{
    {"start-up", "", EventKind::Callback, "OnNotify", 39, 1},
    {"measure", "step host 0 measure 340 1 0 0 0 0 0 500\n", EventKind::Callback, "OnNotify", 17, 1},
    {"scan", "step host 0 scan 500 502 340 0 0 0\n", EventKind::Callback, "OnNotify", 17, 1},
    {"holmium", "step host 0 holmium 6000 6010\n", EventKind::Callback, "OnNotify", 17, 1},
    {"kinetics", "step host 0 kinetics 0 0 500 340\n", EventKind::Callback, "OnNotify", 17, 1},
    {"turbidity", "step host 0 turbidity\n", EventKind::Callback, "OnNotify", 17, 1},
    {"check", "step host 0 check 445.7\n", EventKind::Callback, "OnNotify", 17, 1},
    {"system-check", "step host 0 system-check 360.7\n", EventKind::Callback, "OnNotify", 17, 1},
    {"wavelength-test", "step host 0 wavelength-test\n", EventKind::Callback, "OnNotify", 30, 1},
    {"warm-up", "step host 0 uv-lamp 1 1\n", EventKind::Callback, "OnWarmUpCountdown", -1, 2},
    {"flush-zq410", "profile mode 1\nprofile zq410 1\nstep host 1500 flush 1\nstep host 5000 status\n",
     EventKind::Callback, "OnFlushCompleted", -1, 1},
    {"flush-zq420", "profile mode 2\nprofile zq420 1\nstep host 0 ping\nstep host 100 flush 1\nstep host 5000 status\n",
     EventKind::Callback, "OnFlushCompleted", -1, 1},
    {"pump-and-measure",
     "profile mode 1\nprofile zq410 1\nstep host 0 insert-cuvette 10\nstep host 1500 measure 340 1 0 0 0 0 0 500\n",
     EventKind::Callback, "OnDelayCountdown", -1, 1},
    {"lamp-session", "step host 0 uv-lamp 1 1\nstep host 45000 uv-lamp 0 1\n", EventKind::Callback, "", -1, 1},
    {"cancelled-series", "step host 0 kinetics 1 5 500 340\nstep host 7000 cancel\n", EventKind::Callback, "", -1, 1},
    {"cancelled-settling",
     "profile mode 1\nprofile zq410 1\nprofile delay-time 5\nstep host 0 insert-cuvette 10\n"
     "step host 1500 measure 340 1 0 0 0 0 0 500\nstep host 3000 cancel\n",
     EventKind::Callback, "", -1, 1},
    {"cancelled-flush",
     "profile mode 2\nprofile zq420 1\nstep host 0 ping\nstep host 100 flush 3\nstep host 1000 cancel-flush\n"
     "step host 1000 open-sipper\nstep host 1000 status\n",
     EventKind::Callback, "", -1, 1},
    {"host-files",
     "fault no-folder 0 900000\nstep host 0 log-files\nstep host 0 cancel-flush\nstep host 0 log-files\n"
     "step host 0 settings\nstep host 0 settings\n",
     EventKind::Callback, "", -1, 1},
    {"two-lifecycles",
     "step second 3 open-sipper\nstep second 40000 shutdown\nstep third 3 open-sipper\nstep third 40000 shutdown\n",
     EventKind::Callback, "", -1, 1},
    // Each line end behind the "ok" to $H comes so late that the data command has to wait for it.
    {"late-line-ends", "fault unit-answer 0 5 72 0 60000 2 0\nstep host 0 measure 340 1 0 0 0 0 0 500\n",
     EventKind::Callback, "", -1, 1},
    {"switch-off-between", "step host 0 write-optical :2466300D\nstep host 0 measure 340 1 0 0 0 0 0 500\n",
     EventKind::Callback, "", -1, 1},
}};

/// A scenario that is no plain "operation against the end of a procedure".
struct Special {
  std::string_view name;
  std::string_view lines;
  EventKind kind;
  std::string_view event;
  std::int64_t b;
  std::size_t nNth;
  std::uint64_t nBefore;
  std::string_view disturbance;
};

constexpr std::string_view PumpMeasure =
    "profile mode 1\nprofile zq410 1\nstep host 0 initialize 2\nstep host 0 wait-idle 120000\n"
    "step host 0 insert-cuvette 10\nstep host 1500 measure 340 1 0 0 0 0 0 500\n";

constexpr std::array<Special, 10> Specials{{
    {"two-pump-exchanges", PumpMeasure, EventKind::Callback, "OnNotify", 25, 1, 2, "update-pump 2 2 0"},
    {"flush-beside-pump", PumpMeasure, EventKind::Callback, "OnNotify", 25, 1, 2, "flush 1"},
    {"cancel-against-countdown", PumpMeasure, EventKind::Callback, "OnDelayCountdown", -1, 2, 20, "cancel"},
    {"lamp-off-against-warm-up", "step host 0 initialize 2\nstep host 0 wait-idle 120000\nstep host 0 uv-lamp 1 1\n",
     EventKind::Callback, "OnLampSwitching", -1, 1, 20, "uv-lamp 0 0"},
    {"pump-lost-and-found",
     "profile mode 1\nprofile zq410 1\nstep host 0 initialize 2\nstep host 0 wait-idle 120000\n"
     "fault zq410-off 5000 9000\nstep host 6000 status\n",
     EventKind::Callback, "OnSipperConnectionChanged", -1, 2, 20, "ping"},
    {"shutdown-against-timer",
     "profile mode 2\nprofile zq420 1\nstep host 0 initialize 2\nstep host 0 wait-idle 120000\nstep host 0 ping\n"
     "step host 3000 status\n",
     EventKind::Callback, "OnSipperTick", -1, 4, 20, "shutdown"},
    {"shutdown-against-cuvette-reader",
     "step host 0 initialize 2\nstep host 0 wait-idle 120000\nstep host 0 insert-cuvette 10\nstep host 500 status\n",
     EventKind::Callback, "OnCuvetteChanged", -1, 1, 20, "shutdown"},
    {"shutdown-against-lost-port",
     "step host 0 initialize 2\nstep host 0 wait-idle 120000\nfault unplug 9000 900000 2\nstep host 6000 status\n",
     EventKind::OpticalPort, "optical port", -1, 2, 60, "shutdown"},
    {"shutdown-against-port-reader",
     "profile zq410 1\nstep host 0 initialize 2\nstep host 0 wait-idle 120000\nstep host 2000 status\n",
     EventKind::Callback, "OnExternalPortData", -1, 4, 20, "shutdown"},
    {"shutdown-against-sipper-reader",
     "profile mode 2\nprofile zq420 1\nstep host 0 initialize 2\nstep host 0 wait-idle 120000\nstep host 0 ping\n"
     "step host 500 status\n",
     EventKind::Callback, "OnSipperInfoChanged", -1, 1, 20, "shutdown"},
}};

Plan PlanOf(std::string_view lines) {
  Plan plan;
  plan.profile.bNoise = false;
  plan.profile.dwZeros = 1;
  plan.bRecovery = false;
  while (!lines.empty()) {
    const std::size_t nEnd = std::min(lines.find('\n'), lines.size());
    std::string wrong;
    if (!TakePlanLine(lines.substr(0, nEnd), &plan, &wrong)) {
      throw std::logic_error("scenario: " + wrong);
    }
    lines.remove_prefix(std::min(nEnd + 1, lines.size()));
  }
  return plan;
}

std::vector<Scenario> MakeScenarios() {
  std::vector<Scenario> scenarios;
  for (const Procedure& procedure : Procedures) {
    for (const std::string_view operation : {"cancel", "cancel-flush", "shutdown"}) {
      const bool bFlush = procedure.name.starts_with("flush");
      if (procedure.event.empty() || (operation == "cancel" && bFlush) || (operation == "cancel-flush" && !bFlush)) {
        continue;
      }
      scenarios.push_back({std::string(operation) + "-against-" + std::string(procedure.name),
                           PlanOf(std::string(StartUpSteps) + std::string(procedure.steps) + std::string(WaitSteps)),
                           procedure.kind, std::string(procedure.event), procedure.b, procedure.nNth, 40,
                           std::string(operation)});
    }
  }
  for (const Special& special : Specials) {
    scenarios.push_back({std::string(special.name), PlanOf(std::string(special.lines) + std::string(WaitSteps)),
                         special.kind, std::string(special.event), special.b, special.nNth, special.nBefore,
                         std::string(special.disturbance)});
  }
  return scenarios;
}

}  // namespace

std::optional<std::uint64_t> Scenario::PointIn(const Ledger& ledger) const {
  std::size_t nSeen = 0;
  for (const Event& e : ledger.Events()) {
    if (e.kind == kind && e.name == event && (b < 0 || e.b == b) && ++nSeen == nNth) {
      return e.nPoint > nBefore ? e.nPoint - nBefore : 1;
    }
  }
  return std::nullopt;
}

Plan Scenario::DisturbedAt(std::uint64_t nPoint) const {
  Plan disturbed = plan;
  if (const std::optional<Clause> operation = ParseClause(disturbance)) {
    disturbed.steps.push_back({Actor::Point, nPoint, *operation});
  }
  return disturbed;
}

const std::vector<Scenario>& Scenarios() {
  static const std::vector<Scenario> All = MakeScenarios();
  return All;
}

const Scenario* FindScenario(std::string_view name) {
  const auto found = std::ranges::find(Scenarios(), name, &Scenario::name);
  return found == Scenarios().end() ? nullptr : &*found;
}

std::optional<Plan> ProcedurePlan(std::string_view name) {
  const auto found = std::ranges::find(Procedures, name, &Procedure::name);
  if (found == Procedures.end()) {
    return std::nullopt;
  }
  Plan plan = PlanOf(std::string(StartUpSteps) + std::string(found->steps) + std::string(WaitSteps));
  plan.bRecovery = true;
  return plan;
}

std::vector<std::string> ProcedureNames() {
  std::vector<std::string> names;
  names.reserve(Procedures.size());
  for (const Procedure& procedure : Procedures) {
    names.emplace_back(procedure.name);
  }
  return names;
}

}  // namespace explorer
