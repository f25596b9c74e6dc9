/// All orders of threads of a scenario with at most so many pre-emptions in its window. That the disturbance begins is
/// the first of them: it begins at each point of the window in turn.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

#include "Record.h"
#include "Scenarios.h"

namespace explorer {

struct ExhaustionOptions {
  unsigned nPreemptions = 2;
  /// Choices at waits and of waiters that differ from first come.
  unsigned nDetours = 1;
  /// Length of the window, in scheduling points.
  std::uint64_t nPoints = 100;
  /// Ends the search early; 0: never.
  std::uint64_t nMostSchedules = 0;
};

struct ExhaustionResult {
  std::uint64_t nSchedules = 0;
  /// The search was cut off by `nMostSchedules`.
  bool bCutOff = false;
  /// Why the scenario could not be searched; empty: it was.
  std::string wrong;
  /// What was found, as a record; the search ends with it.
  std::optional<Record> finding;
};

/// In this process: the process ends with the message of the board when a run cannot go on.
ExhaustionResult Exhaust(const Scenario& scenario, const ExhaustionOptions& options);

}  // namespace explorer
