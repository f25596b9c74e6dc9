#include <chrono>
#include <cstdlib>
#include <iostream>
#include <map>
#include <string>
#include <thread>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Exploration.h"
#include "Isolation.h"
#include "Report.h"
#include "Shrinker.h"
#include "platform/Sanitizers.h"

namespace {

using namespace explorer;  // NOLINT(google-build-using-namespace): this program is all of it

constexpr int Sound = 0;
constexpr int Broken = 1;
constexpr int BadInput = 2;

struct Options {
  std::string seeds = "1..1000";
  std::string policy = "random";
  std::string faults = "on";
  std::string replay;
  std::string folder = ".";
  unsigned nDepth = 3;
  std::uint64_t nSteps = 20'000;
  unsigned nJobs = 2;
  unsigned nShrinkRuns = 400;
  double dSeconds = 0;
  bool bKeepGoing = false;
  bool bTwice = false;
  bool bProperties = false;
};

int Complain(const std::string& text) {
  std::cerr << "photometer-explore: " << text << "\n\"photometer-explore --help\" tells what is possible.\n";
  return BadInput;
}

void AddOptions(CLI::App& app, Options& options) {
  app.add_option("--seeds", options.seeds, "First and last seed, FROM..TO")->capture_default_str();
  app.add_option("--policy", options.policy, "Order of threads: first-come, random, or pct (priorities)")
      ->capture_default_str();
  app.add_option("--depth", options.nDepth, "With pct: depth of the faults that are looked for")->capture_default_str();
  app.add_option("--steps", options.nSteps, "With pct: scheduling points over which priorities change")
      ->capture_default_str();
  app.add_option("--faults", options.faults, "Let things go wrong: on or off")->check(CLI::IsMember({"on", "off"}));
  app.add_option("--jobs", options.nJobs, "Processes")->check(CLI::Range(1, 64))->capture_default_str();
  app.add_option("--seconds", options.dSeconds, "Go on with further seeds for at least so long");
  app.add_option("--folder", options.folder, "Where records of findings are written")->capture_default_str();
  app.add_option("--shrink", options.nShrinkRuns, "Runs that making a record small may take; 0: as it was found")
      ->capture_default_str();
  app.add_option("--replay", options.replay, "Repeat a record")->type_name("FILE");
  app.add_flag("--keep-going", options.bKeepGoing, "Count findings and go on");
  app.add_flag("--twice", options.bTwice, "Run each seed in two processes and compare");
  app.add_flag("--properties", options.bProperties, "List what is checked");
}

// ---- findings ----

class Findings {
 public:
  explicit Findings(const ExplorationOptions& exploration, unsigned nShrinkRuns)
      : m_exploration(exploration), m_nShrinkRuns(nShrinkRuns) {}

  /// The first of each property is shrunk and recorded, the others are counted.
  void Take(const Finding& finding) {
    if (++m_counts[finding.violation.property] > 1) {
      std::cout << fmt::format("seed {}: \"{}\" again: {}\n", finding.seed, finding.violation.property,
                               finding.violation.text)
                << std::flush;
      return;
    }
    std::vector<std::string> lines;
    Record record = MakeRecord(m_exploration, finding, &lines);
    if (m_nShrinkRuns > 0) {
      std::cout << fmt::format("seed {}: \"{}\" is broken; making it small ...\n", finding.seed,
                               finding.violation.property)
                << std::flush;
      record = Shrinker(FirstBroken, m_nShrinkRuns).Shrink(std::move(record));
      RunOptions run = record.Options();
      run.bTrace = true;
      const Outcome outcome = RunIsolated(record.plan, run);
      lines = outcome.lines;
      record.violation = outcome.violations.empty() ? record.violation : outcome.violations.front();
    }
    const std::string path = RecordPath(m_exploration.folder, record);
    if (!WriteRecord(record, path)) {
      std::cerr << fmt::format("photometer-explore: \"{}\" cannot be written; the record is lost\n", path);
    }
    std::cout << FindingText(record, lines, path) << std::flush;
  }

  void Summarise() const {
    for (const auto& [property, nCount] : m_counts) {
      std::cout << fmt::format("{:6} times broken: {}\n", nCount, property);
    }
  }

 private:
  const ExplorationOptions& m_exploration;
  unsigned m_nShrinkRuns;
  std::map<std::string, std::uint64_t> m_counts;
};

// ---- modes ----

/// Seeds are run in portions, and after each one the figures are told.
constexpr std::uint64_t Portion = 1000;

int Explore(ExplorationOptions exploration, const Options& options) {
  const auto start = std::chrono::steady_clock::now();
  const auto seconds = [start] {
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  };
  Findings findings(exploration, options.nShrinkRuns);
  const std::uint64_t nLast = exploration.nLastSeed;
  std::uint64_t nSeeds = 0;
  std::uint64_t nFindings = 0;
  std::uint64_t nHash = 0;
  for (std::uint64_t n = exploration.nFirstSeed; n <= nLast || seconds() < options.dSeconds; n += Portion) {
    exploration.nFirstSeed = n;
    exploration.nLastSeed = options.dSeconds > 0 ? n + Portion - 1 : std::min(n + Portion - 1, nLast);
    Exploration portion(exploration);
    portion.OnFinding([&](const Finding& finding) { findings.Take(finding); });
    nFindings += portion.Run();
    nSeeds += portion.SeedsDone();
    nHash += portion.Hash();
    std::cout << fmt::format("{} seeds, up to {}, {:.0f} seeds/s, {} findings\n", nSeeds, exploration.nLastSeed,
                             static_cast<double>(nSeeds) / seconds(), nFindings)
              << std::flush;
    if (nFindings > 0 && !options.bKeepGoing) {
      break;
    }
  }
  findings.Summarise();
  std::cout << fmt::format("hash {:016x}\n", nHash);
  return nFindings == 0 ? Sound : Broken;
}

int RunTwice(const ExplorationOptions& exploration) {
  for (std::uint64_t seed = exploration.nFirstSeed; seed <= exploration.nLastSeed; ++seed) {
    const Plan plan = DrawPlan(seed, exploration.plan);
    RunOptions run = exploration.run;
    run.seed = seed;
    const Outcome first = RunIsolated(plan, run);
    run.bTrace = true;
    const Outcome second = RunIsolated(plan, run);
    if (first.nHash != second.nHash) {
      std::cout << fmt::format("seed {}: {:016x} and {:016x}: the run depends on more than the seed\n", seed,
                               first.nHash, second.nHash);
      return Broken;
    }
  }
  std::cout << fmt::format("{} seeds, each twice the same\n", exploration.nLastSeed - exploration.nFirstSeed + 1);
  return Sound;
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
                           static_cast<double>(outcome.nMicroseconds) / 1e6, outcome.nHash);
  return outcome.violations.empty() ? Sound : Broken;
}

bool TakeSeeds(const std::string& text, ExplorationOptions* pExploration) {
  const std::size_t nDots = text.find("..");
  const std::string first = text.substr(0, nDots);
  const std::string last = nDots == std::string::npos ? first : text.substr(nDots + 2);
  const auto isNumber = [](const std::string& word) {
    return !word.empty() && word.size() <= 15 && word.find_first_not_of("0123456789") == std::string::npos;
  };
  if (!isNumber(first) || !isNumber(last)) {
    return false;
  }
  pExploration->nFirstSeed = std::stoull(first);
  pExploration->nLastSeed = std::stoull(last);
  return pExploration->nFirstSeed <= pExploration->nLastSeed;
}

int Run(const Options& options) {
  if (options.bProperties) {
    std::cout << PropertyList();
    return Sound;
  }
  if (!options.replay.empty()) {
    return Replay(options.replay);
  }
  ExplorationOptions exploration;
  if (!TakeSeeds(options.seeds, &exploration)) {
    return Complain(fmt::format("\"{}\" names no seeds; write --seeds 1..1000", options.seeds));
  }
  const std::optional<Scheduling> scheduling = ParseScheduling(options.policy);
  if (!scheduling) {
    return Complain(fmt::format("there is no policy \"{}\"", options.policy));
  }
  exploration.run.scheduling = *scheduling;
  exploration.run.nDepth = options.nDepth;
  exploration.run.nSteps = options.nSteps;
  exploration.plan.bFaults = options.faults == "on";
  exploration.nJobs = options.nJobs;
  exploration.bKeepGoing = options.bKeepGoing;
  exploration.folder = options.folder;
  return options.bTwice ? RunTwice(exploration) : Explore(exploration, options);
}

}  // namespace

int main(int argc, char** argv) {
  if (photometer::platform::ThreadSanitizerRuns) {
    // Until a process has had a second thread, libstdc++ counts the references of a shared pointer without atomic
    // operations, which the sanitizer, to which every simulated thread is a thread, reports as races.
    std::thread([] {}).join();
  }
  CLI::App app(
      "photometer-explore: runs the library against a simulated instrument, seed after seed, and checks what "
      "must always hold");
  Options options;
  AddOptions(app, options);
  try {
    app.parse(argc, argv);
    return Run(options);
  } catch (const CLI::CallForHelp&) {
    std::cout << app.help();
    return Sound;
  } catch (const CLI::ParseError& error) {
    return Complain(error.what());
  } catch (const std::exception& error) {
    std::cerr << "photometer-explore: " << error.what() << '\n';
    return BadInput;
  }
}
