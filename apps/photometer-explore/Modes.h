/// What the program can be asked to do. Each mode tells what it does on standard output, and answers with the program's
/// exit code.
#pragma once

#include <cstdint>
#include <string>

#include "Exhaustion.h"
#include "Exploration.h"

namespace explorer {

/// Exit codes: everything held; something was broken; the arguments make no sense.
inline constexpr int Sound = 0;
inline constexpr int Broken = 1;
inline constexpr int BadInput = 2;

struct ModeOptions {
  ExplorationOptions exploration;
  ExhaustionOptions exhaustion;
  unsigned nShrinkRuns = 400;
  /// Explore further seeds for at least so long, s.
  double dSeconds = 0;
  /// Of fail-at-N: calls of each site that fail once each, and the folder in which `src` stands.
  std::uint64_t nMostCalls = 3;
  std::string sourceFolder = ".";
};

int Explore(ModeOptions options);
/// Each seed in two processes, one of them with a transcript.
int CompareTwice(const ModeOptions& options);
int Replay(const std::string& path);
/// One scenario, or "all".
int ExhaustScenarios(const std::string& name, const ModeOptions& options);
/// The plan of one procedure, or "all".
int FailSites(const std::string& name, const ModeOptions& options);
/// Names of properties, scenarios and procedures.
int List();

/// What is wrong with the input, to standard error.
int Complain(const std::string& text);

}  // namespace explorer
