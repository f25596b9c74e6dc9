#include "Exhaustion.h"

#include <cstdio>
#include <cstdlib>
#include <memory>

#include "platform/virtual/ExhaustivePolicy.h"

namespace explorer {

using photometer::platform::ExhaustiveOptions;
using photometer::platform::ExhaustivePolicy;

namespace {

constexpr int GivenUp = 3;

/// Where the window of the undisturbed run begins; nothing, and why, when it has none.
std::optional<std::uint64_t> FindWindow(const Scenario& scenario, ExhaustionResult* pResult) {
  std::optional<std::uint64_t> point;
  RunOptions options;
  ExhaustiveOptions none;
  none.nMostPoints = 0;
  options.pPolicy = std::make_shared<ExhaustivePolicy>(none);
  options.onEnd = [&](const Ledger& ledger) { point = scenario.PointIn(ledger); };
  const Outcome outcome = RunPlan(scenario.plan, options);
  if (!outcome.violations.empty()) {
    pResult->finding = Record{1, outcome.violations.front(), scenario.plan, {}};
  } else if (!point) {
    pResult->wrong = "the undisturbed run has no " + scenario.event;
  }
  return point;
}

/// All orders from the point on at which the disturbance begins.
void ExhaustFrom(const Plan& plan, const ExhaustiveOptions& window, std::uint64_t nMostSchedules,
                 ExhaustionResult* pResult) {
  const auto pPolicy = std::make_shared<ExhaustivePolicy>(window);
  RunOptions run;
  run.pPolicy = pPolicy;
  run.bRecordDecisions = true;
  run.onDeadlock = [](const Violation& violation) {
    std::fprintf(stderr, "%s\n", violation.text.c_str());
    std::_Exit(GivenUp);
  };
  do {
    const Outcome outcome = RunPlan(plan, run);
    ++pResult->nSchedules;
    if (!outcome.violations.empty()) {
      pResult->finding = Record{1, outcome.violations.front(), plan, outcome.decisions};
      return;
    }
    pResult->bCutOff = nMostSchedules != 0 && pResult->nSchedules >= nMostSchedules;
  } while (!pResult->bCutOff && pPolicy->NextSchedule());
  if (pPolicy->Diverged()) {
    pResult->wrong = "the scenario does not repeat itself";
  }
}

}  // namespace

ExhaustionResult Exhaust(const Scenario& scenario, const ExhaustionOptions& options) {
  ExhaustionResult result;
  const std::optional<std::uint64_t> first = FindWindow(scenario, &result);
  if (!first || result.finding) {
    return result;
  }
  const std::uint64_t nEnd = *first + options.nPoints;
  for (std::uint64_t nPoint = *first; nPoint < nEnd && !result.finding && !result.bCutOff; ++nPoint) {
    ExhaustiveOptions window;
    window.nMostPreemptions = options.nPreemptions - 1;
    window.nMostDetours = options.nDetours;
    window.nMostPoints = nEnd - nPoint;
    window.nFirstPoint = nPoint;
    ExhaustFrom(scenario.DisturbedAt(nPoint), window, options.nMostSchedules, &result);
  }
  return result;
}

}  // namespace explorer
