#include "Modes.h"

#include <chrono>
#include <iostream>
#include <map>

#include <fmt/format.h>

#include "FailAtN.h"
#include "Findings.h"
#include "Isolation.h"
#include "Report.h"
#include "Scenarios.h"
#include "platform/virtual/CallSiteScan.h"

namespace explorer {

namespace {

using Clock = std::chrono::steady_clock;

/// Seeds are run in portions, and after each one the figures are told.
constexpr std::uint64_t Portion = 1000;
constexpr double MicrosecondsPerSecond = 1e6;

double SecondsSince(Clock::time_point start) { return std::chrono::duration<double>(Clock::now() - start).count(); }

/// Runs jobs, so many at a time, each in a process of its own. `Broken` when one of them was.
class ProcessPool {
 public:
  explicit ProcessPool(unsigned nJobs) : m_nJobs(nJobs) {}

  void Start(const std::string& name, const std::function<int()>& job) {
    if (m_running.size() >= m_nJobs) {
      WaitForOne();
    }
    m_running[StartProcess(job)] = name;
  }
  int End() {
    while (!m_running.empty()) {
      WaitForOne();
    }
    return m_iResult;
  }

 private:
  void WaitForOne() {
    const int iAny = AnyEndedProcess();
    const auto ended = m_running.contains(iAny) ? m_running.find(iAny) : m_running.begin();
    int iResult = 0;
    const std::string wrong = WaitForProcess(ended->first, &iResult);
    if (!wrong.empty()) {
      std::cout << fmt::format("{}: {}\n", ended->second, wrong) << std::flush;
    }
    m_running.erase(ended);
    m_iResult = wrong.empty() && iResult == Sound ? m_iResult : Broken;
  }

  unsigned m_nJobs;
  /// Names by process.
  std::map<int, std::string> m_running;
  int m_iResult = Sound;
};

}  // namespace

int Complain(const std::string& text) {
  std::cerr << "photometer-explore: " << text << "\n\"photometer-explore --help\" tells what is possible.\n";
  return BadInput;
}

// ---- seeds ----

int Explore(ModeOptions options) {
  const auto start = Clock::now();
  ExplorationOptions& exploration = options.exploration;
  Findings findings(exploration, options.nShrinkRuns);
  const std::uint64_t nLast = exploration.nLastSeed;
  std::uint64_t nSeeds = 0;
  std::uint64_t nFindings = 0;
  std::uint64_t nHash = 0;
  for (std::uint64_t n = exploration.nFirstSeed; n <= nLast || SecondsSince(start) < options.dSeconds; n += Portion) {
    exploration.nFirstSeed = n;
    exploration.nLastSeed = options.dSeconds > 0 ? n + Portion - 1 : std::min(n + Portion - 1, nLast);
    Exploration portion(exploration);
    portion.OnFinding([&](const Finding& finding) { findings.Take(finding); });
    nFindings += portion.Run();
    nSeeds += portion.SeedsDone();
    nHash += portion.Hash();
    std::cout << fmt::format("{} seeds, up to {}, {:.0f} seeds/s, {} findings\n", nSeeds, exploration.nLastSeed,
                             static_cast<double>(nSeeds) / SecondsSince(start), nFindings)
              << std::flush;
    if (nFindings > 0 && !exploration.bKeepGoing) {
      break;
    }
  }
  findings.Summarise();
  std::cout << fmt::format("hash {:016x}\n", nHash);
  return nFindings == 0 ? Sound : Broken;
}

namespace {

/// From the first seed on every `nJobs`-th one.
int CompareEvery(const ExplorationOptions& exploration) {
  for (std::uint64_t seed = exploration.nFirstSeed; seed <= exploration.nLastSeed; seed += exploration.nJobs) {
    const Plan plan = DrawPlan(seed, exploration.plan);
    RunOptions run = exploration.run;
    run.seed = seed;
    const Outcome first = RunIsolated(plan, run);
    run.bTrace = true;
    const Outcome second = RunIsolated(plan, run);
    if (first.nHash != second.nHash) {
      std::cout << fmt::format("seed {}: {:016x} and {:016x}: the run depends on more than its random seed\n", seed,
                               first.nHash, second.nHash);
      std::cout << std::flush;
      return Broken;
    }
  }
  return Sound;
}

}  // namespace

int CompareTwice(const ModeOptions& options) {
  ProcessPool pool(options.exploration.nJobs);
  ExplorationOptions part = options.exploration;
  for (unsigned n = 0; n < options.exploration.nJobs; ++n, ++part.nFirstSeed) {
    pool.Start("twice", [&part] { return CompareEvery(part); });
  }
  const int iResult = pool.End();
  if (iResult == Sound) {
    const std::uint64_t nSeeds = options.exploration.nLastSeed - options.exploration.nFirstSeed + 1;
    std::cout << fmt::format("{} seeds, each twice the same\n", nSeeds);
  }
  return iResult;
}

int Replay(const std::string& path) {
  std::string wrong;
  const std::optional<Record> record = ReadRecord(path, &wrong);
  if (!record) {
    return Complain(fmt::format("\"{}\" is no record: {}", path, wrong));
  }
  RunOptions run = record->Options();
  run.bTrace = true;
  const Outcome outcome = RunIsolated(record->plan, run);
  for (const std::string& line : outcome.lines) {
    std::cout << "  " << line << '\n';
  }
  for (const Violation& violation : outcome.violations) {
    std::cout << fmt::format("\"{}\" is broken: {}\n", violation.property, violation.text);
  }
  std::cout << fmt::format("{} scheduling points, {:.3f} s, hash {:016x}\n", outcome.nPoints,
                           static_cast<double>(outcome.nMicroseconds) / MicrosecondsPerSecond, outcome.nHash);
  return outcome.violations.empty() ? Sound : Broken;
}

// ---- scenarios ----

namespace {

int ExhaustOne(const Scenario& scenario, const ModeOptions& options) {
  const auto start = Clock::now();
  const ExhaustionResult result = Exhaust(scenario, options.exhaustion);
  std::cout << fmt::format("{}: {} orders of threads, {:.1f} s{}{}\n", scenario.name, result.nSchedules,
                           SecondsSince(start), result.bCutOff ? ", cut off" : "",
                           result.wrong.empty() ? "" : ": " + result.wrong)
            << std::flush;
  if (!result.finding) {
    return result.wrong.empty() ? Sound : Broken;
  }
  Findings(options.exploration, options.nShrinkRuns).Take(*result.finding);
  return Broken;
}

}  // namespace

int ExhaustScenarios(const std::string& name, const ModeOptions& options) {
  if (name != "all" && FindScenario(name) == nullptr) {
    return Complain(fmt::format("there is no scenario \"{}\"; --list names them", name));
  }
  ProcessPool pool(options.exploration.nJobs);
  for (const Scenario& scenario : Scenarios()) {
    if (name == "all" || name == scenario.name) {
      pool.Start(scenario.name, [&] { return ExhaustOne(scenario, options); });
    }
  }
  return pool.End();
}

// ---- fail at N ----

namespace {

int FailSitesOf(const std::string& name, const ModeOptions& options) {
  const auto start = Clock::now();
  const FailAtNResult result = FailAtN(*ProcedurePlan(name), options.nMostCalls);
  for (const FailAtNFinding& finding : result.findings) {
    std::cout << fmt::format("{}: {}: \"{}\" is broken: {}\n", name, finding.Where(), finding.violation.property,
                             finding.violation.text);
  }
  std::cout << fmt::format("{}: {} call sites, {} runs, {:.1f} s, {} findings\n", name, result.reached.size(),
                           result.nRuns, SecondsSince(start), result.findings.size());
  std::cout << std::flush;
  return result.findings.empty() ? Sound : Broken;
}

/// To standard output: the sites that none of these procedures reaches. `Broken` when there are any.
int TellNeverReached(const std::vector<std::string>& names, const std::string& sourceFolder) {
  std::vector<photometer::platform::ReachedSite> reached;
  for (const std::string& name : names) {
    const auto sites = SitesOf(*ProcedurePlan(name));
    reached.insert(reached.end(), sites.begin(), sites.end());
  }
  const auto all = photometer::platform::CallSitesBelow(sourceFolder);
  if (all.empty()) {
    std::cout << fmt::format("there are no sources below \"{}/src\" to compare with\n", sourceFolder);
  }
  const auto never = NeverReached(all, reached);
  for (const auto& site : never) {
    std::cout << fmt::format("never reached: {}\n", photometer::platform::ToText(site));
  }
  return never.empty() ? Sound : Broken;
}

}  // namespace

int FailSites(const std::string& name, const ModeOptions& options) {
  if (name != "all" && !ProcedurePlan(name)) {
    return Complain(fmt::format("there is no procedure \"{}\"; --list names them", name));
  }
  const std::vector<std::string> names = name == "all" ? ProcedureNames() : std::vector{name};
  ProcessPool pool(options.exploration.nJobs);
  for (const std::string& procedure : names) {
    pool.Start(procedure, [&procedure, &options] { return FailSitesOf(procedure, options); });
  }
  const int iResult = pool.End();
  // One procedure reaches a few only, and the rest would tell nothing.
  const int iNever = name == "all" ? TellNeverReached(names, options.sourceFolder) : Sound;
  return iResult == Sound ? iNever : iResult;
}

int List() {
  std::cout << "Properties:\n" << PropertyList() << "Scenarios (--scenario):\n";
  for (const Scenario& scenario : Scenarios()) {
    std::cout << "  " << scenario.name << '\n';
  }
  std::cout << "Procedures (--fail-at-n):\n";
  for (const std::string& name : ProcedureNames()) {
    std::cout << "  " << name << '\n';
  }
  return Sound;
}

}  // namespace explorer
