/// Seed after seed, in several processes: what is looked for, how far it is, and what was found.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "Record.h"
#include "Run.h"

namespace explorer {

struct ExplorationOptions {
  std::uint64_t nFirstSeed = 1;
  std::uint64_t nLastSeed = 1000;
  PlanOptions plan;
  RunOptions run;
  unsigned nJobs = 2;
  bool bKeepGoing = false;
  /// Where records are written.
  std::string folder = ".";
};

/// A seed that failed.
struct Finding {
  std::uint64_t seed = 0;
  Violation violation;
};

class Exploration {
 public:
  explicit Exploration(const ExplorationOptions& options) : m_options(options) {}

  /// Called for each finding as it is made.
  void OnFinding(std::function<void(const Finding&)> action) { m_onFinding = std::move(action); }
  /// The number of findings.
  std::uint64_t Run();
  [[nodiscard]] std::uint64_t SeedsDone() const { return m_nSeeds; }
  /// Over the hashes of all seeds that were run to their end, whatever the number of processes.
  [[nodiscard]] std::uint64_t Hash() const { return m_nHash; }

 private:
  struct Mailbox;
  class Worker;

  void Take(const Finding& finding);
  /// Unless it keeps going.
  void StopOthers(const std::vector<std::unique_ptr<Worker>>& workers) const;

  ExplorationOptions m_options;
  std::function<void(const Finding&)> m_onFinding;
  std::uint64_t m_nFindings = 0;
  std::uint64_t m_nSeeds = 0;
  std::uint64_t m_nHash = 0;
};

/// The whole record of a finding: the same random seed run once more, with its decisions; and what its transcript ends
/// with.
Record MakeRecord(const ExplorationOptions& options, const Finding& finding, std::vector<std::string>* pLines);
/// The first property that a record breaks, in a process of its own; empty: none.
std::string FirstBroken(const Record& record);

}  // namespace explorer
