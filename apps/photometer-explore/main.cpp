#include <iostream>
#include <string>
#include <thread>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Modes.h"
#include "platform/Sanitizers.h"

#ifdef PHOTOMETER_THREAD_SANITIZER
/// A race ends the process of its seed and counts as a finding; else it would only be printed.
extern "C" __attribute__((visibility("default"))) const char*
__tsan_default_options() {  // NOLINT(bugprone-reserved-identifier)
  return "halt_on_error=1:second_deadlock_stack=1";
}
#endif

namespace {

using namespace explorer;  // NOLINT(google-build-using-namespace): this program is all of it

struct Options {
  std::string seeds = "1..1000";
  std::string policy = "random";
  std::string faults = "on";
  std::string replay;
  std::string scenario;
  std::string failAtN;
  bool bTwice = false;
  bool bList = false;
  ModeOptions mode;
};

void AddSeedOptions(CLI::App& app, Options& options) {
  ExplorationOptions& exploration = options.mode.exploration;
  exploration.run.nSteps = 20'000;
  app.add_option("--seeds", options.seeds, "First and last seed, FROM..TO")->capture_default_str();
  app.add_option("--policy", options.policy, "Order of threads: first-come, random, or pct (priorities)")
      ->capture_default_str();
  app.add_option("--depth", exploration.run.nDepth, "With pct: depth of the faults that are looked for")
      ->capture_default_str();
  app.add_option("--steps", exploration.run.nSteps, "With pct: scheduling points over which priorities change")
      ->capture_default_str();
  app.add_option("--faults", options.faults, "Let things go wrong: on or off")->check(CLI::IsMember({"on", "off"}));
  app.add_option("--seconds", options.mode.dSeconds, "Go on with further seeds for at least so long");
  app.add_flag("--keep-going", exploration.bKeepGoing, "Count findings and go on");
  app.add_flag("--twice", options.bTwice, "Run each seed in two processes and compare");
}

void AddOptions(CLI::App& app, Options& options) {
  AddSeedOptions(app, options);
  app.add_option("--jobs", options.mode.exploration.nJobs, "Processes at a time")
      ->check(CLI::Range(1, 64))
      ->capture_default_str();
  app.add_option("--folder", options.mode.exploration.folder, "Where records of findings are written")
      ->capture_default_str();
  app.add_option("--shrink", options.mode.nShrinkRuns, "Runs that making a record small may take; 0: as it was found")
      ->capture_default_str();
  app.add_option("--replay", options.replay, "Repeat a record")->type_name("FILE");
  app.add_option("--scenario", options.scenario, "All orders of threads in the window of a scenario, or of all");
  app.add_option("--preemptions", options.mode.exhaustion.nPreemptions, "With --scenario: most pre-emptions")
      ->check(CLI::Range(1, 4))
      ->capture_default_str();
  app.add_option("--detours", options.mode.exhaustion.nDetours, "With --scenario: most other choices")
      ->capture_default_str();
  app.add_option("--points", options.mode.exhaustion.nPoints, "With --scenario: scheduling points of the window")
      ->capture_default_str();
  app.add_option("--orders", options.mode.exhaustion.nMostSchedules, "With --scenario: end early; 0: never")
      ->capture_default_str();
  app.add_option("--fail-at-n", options.failAtN, "Let each call site fail in a procedure, or in all");
  app.add_option("--calls", options.mode.nMostCalls, "With --fail-at-n: first calls of a site that fail once each")
      ->capture_default_str();
  app.add_option("--source", options.mode.sourceFolder, "With --fail-at-n: folder of the sources")
      ->capture_default_str();
  app.add_flag("--list", options.bList, "Name properties, scenarios and procedures");
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

int Run(Options& options) {
  if (options.bList) {
    return List();
  }
  if (!options.replay.empty()) {
    return Replay(options.replay);
  }
  if (!options.scenario.empty()) {
    return ExhaustScenarios(options.scenario, options.mode);
  }
  if (!options.failAtN.empty()) {
    return FailSites(options.failAtN, options.mode);
  }
  ExplorationOptions& exploration = options.mode.exploration;
  if (!TakeSeeds(options.seeds, &exploration)) {
    return Complain(fmt::format("\"{}\" names no seeds; write --seeds 1..1000", options.seeds));
  }
  const std::optional<Scheduling> scheduling = ParseScheduling(options.policy);
  if (!scheduling) {
    return Complain(fmt::format("there is no policy \"{}\"; there are first-come, random and pct", options.policy));
  }
  exploration.run.scheduling = *scheduling;
  exploration.plan.bFaults = options.faults == "on";
  return options.bTwice ? CompareTwice(options.mode) : Explore(options.mode);
}

}  // namespace

int main(int argc, char** argv) {
  if (photometer::platform::ThreadSanitizerRuns) {
    // Until a process has had a second thread, libstdc++ counts the references of a shared pointer without atomic
    // operations, which the sanitizer, to which every simulated thread is a thread, reports as races.
    std::thread([] {}).join();
  }
  CLI::App app(
      "photometer-explore: runs the library against a simulated instrument, seed after seed, and checks what must "
      "always hold");
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
