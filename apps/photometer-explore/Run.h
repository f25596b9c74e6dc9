/// One run of a plan, from a fresh world to its judgement.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Ledger.h"
#include "Plan.h"
#include "platform/virtual/Decision.h"
#include "platform/virtual/SchedulingPolicy.h"
#include "platform/virtual/VirtualBoard.h"

namespace explorer {

enum class Scheduling : std::uint8_t { FirstCome, Random, Priority };

struct RunOptions {
  Scheduling scheduling = Scheduling::Random;
  /// Of `Priority`: depth of the faults that are looked for, and the expected scheduling points of a run.
  unsigned nDepth = 3;
  std::uint64_t nSteps = 100'000;
  std::uint64_t seed = 1;
  /// In place of all that: the order of threads of an earlier run.
  std::optional<photometer::platform::DecisionList> decisions;
  /// In place of all that: a policy that the caller keeps.
  std::shared_ptr<photometer::platform::SchedulingPolicy> pPolicy;
  bool bRecordDecisions = false;
  bool bTrace = false;
  /// Called when the programme is over and everything is put in order.
  std::function<void()> onHeal;
  /// Looks at what happened, before the world ends.
  std::function<void(const Ledger&)> onEnd;
  /// No thread can ever go on: called with the violation, and must end the process.
  std::function<void(const Violation&)> onDeadlock;
};

struct Outcome {
  std::vector<Violation> violations;
  /// Over every scheduling decision, event and value.
  std::uint64_t nHash = 0;
  std::uint64_t nPoints = 0;
  std::uint64_t nMicroseconds = 0;
  photometer::platform::DecisionList decisions;
  /// The last lines of the transcript, with `bTrace`.
  std::vector<std::string> lines;
};

Outcome RunPlan(const Plan& plan, const RunOptions& options);

/// `first-come`, `random`, `pct`.
std::optional<Scheduling> ParseScheduling(std::string_view name);

}  // namespace explorer
