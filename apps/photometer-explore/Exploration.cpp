#include "Exploration.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstring>
#include <memory>
#include <vector>

#include "Isolation.h"

namespace explorer {

namespace {

/// A run that takes longer than this, in seconds of real time, has lost its way.
constexpr unsigned RunLimit = 60;
constexpr std::size_t TextLimit = 4000;

RunOptions OptionsFor(const RunOptions& options, std::uint64_t seed) {
  RunOptions own = options;
  own.seed = seed;
  return own;
}

}  // namespace

/// What a worker process tells.
struct Exploration::Mailbox {
  std::uint64_t nSeed;
  std::uint64_t nSeedsDone;
  std::uint64_t nHash;
  char property[64];
  char text[TextLimit];
};

/// One process after another, each from where the one before was stopped by a finding.
class Exploration::Worker {
 public:
  Worker(const ExplorationOptions& options, unsigned nNumber)
      : m_options(options), m_nNext(options.nFirstSeed + nNumber), m_memory(sizeof(Mailbox)) {}

  void Start() {
    Box() = {};
    m_iProcess = StartProcess([this] { return RunSeeds(); });
  }
  [[nodiscard]] int Process() const { return m_iProcess; }

  /// The process has ended. What it found; nothing: all its seeds are done.
  std::optional<Finding> End(int iStatus) {
    m_iProcess = 0;
    if (WIFEXITED(iStatus) && WEXITSTATUS(iStatus) == 0) {
      return std::nullopt;
    }
    Finding finding{Box().nSeed, {Box().property, Box().text}};
    // A sanitizer ends the process by 1, too, and leaves no property.
    if (!WIFEXITED(iStatus) || WEXITSTATUS(iStatus) != 1 || finding.violation.property.empty()) {
      const bool bSilent = WIFSIGNALED(iStatus) && WTERMSIG(iStatus) == SIGALRM;
      finding.violation = {"no crash", bSilent                ? "the run does not end"
                                       : WIFSIGNALED(iStatus) ? std::string("signal: ") + strsignal(WTERMSIG(iStatus))
                                       : WEXITSTATUS(iStatus) == 1 ? "the process ended by itself"
                                                                   : "the board gave the run up"};
    }
    m_nNext = finding.seed + m_options.nJobs;
    return finding;
  }
  [[nodiscard]] bool HasMore() const { return m_nNext <= m_options.nLastSeed; }
  [[nodiscard]] const Mailbox& Mail() const { return *static_cast<const Mailbox*>(m_memory.Address()); }

 private:
  Mailbox& Box() { return *static_cast<Mailbox*>(m_memory.Address()); }

  int RunSeeds() {
    for (std::uint64_t seed = m_nNext; seed <= m_options.nLastSeed; seed += m_options.nJobs) {
      Box().nSeed = seed;
      alarm(RunLimit);
      RunOptions options = OptionsFor(m_options.run, seed);
      options.onDeadlock = [this](const Violation& violation) {
        Tell(violation);
        _exit(1);
      };
      const Outcome outcome = RunPlan(DrawPlan(seed, m_options.plan), options);
      ++Box().nSeedsDone;
      Box().nHash += outcome.nHash * (2 * seed + 1);
      if (!outcome.violations.empty()) {
        Tell(outcome.violations.front());
        return 1;
      }
    }
    return 0;
  }

  void Tell(const Violation& violation) {
    std::strncpy(Box().property, violation.property.c_str(), sizeof Box().property - 1);
    std::strncpy(Box().text, violation.text.c_str(), sizeof Box().text - 1);
  }

  const ExplorationOptions& m_options;
  std::uint64_t m_nNext;
  SharedMemory m_memory;
  int m_iProcess = 0;
};

void Exploration::Take(const Finding& finding) {
  ++m_nFindings;
  if (m_onFinding) {
    m_onFinding(finding);
  }
}

void Exploration::StopOthers(const std::vector<std::unique_ptr<Worker>>& workers) const {
  for (const auto& pWorker : workers) {
    if (!m_options.bKeepGoing && pWorker->Process() != 0) {
      kill(pWorker->Process(), SIGKILL);
    }
  }
}

std::uint64_t Exploration::Run() {
  std::vector<std::unique_ptr<Worker>> workers;
  for (unsigned n = 0; n < m_options.nJobs; ++n) {
    workers.push_back(std::make_unique<Worker>(m_options, n));
    workers.back()->Start();
  }
  for (std::size_t nRunning = workers.size(); nRunning > 0;) {
    int iStatus = 0;
    const int iProcess = wait(&iStatus);
    const auto found =
        std::ranges::find_if(workers, [=](const auto& pWorker) { return pWorker->Process() == iProcess; });
    if (found == workers.end()) {
      continue;
    }
    Worker& worker = **found;
    m_nSeeds += worker.Mail().nSeedsDone;
    m_nHash += worker.Mail().nHash;
    const std::optional<Finding> finding = worker.End(iStatus);
    const bool bStopped = m_nFindings > 0 && !m_options.bKeepGoing;
    if (finding && !bStopped) {
      Take(*finding);
      if (m_options.bKeepGoing && worker.HasMore()) {
        worker.Start();
        continue;
      }
      StopOthers(workers);
    }
    --nRunning;
  }
  return m_nFindings;
}

Record MakeRecord(const ExplorationOptions& options, const Finding& finding, std::vector<std::string>* pLines) {
  RunOptions run = OptionsFor(options.run, finding.seed);
  run.bRecordDecisions = true;
  run.bTrace = true;
  Record record{finding.seed, finding.violation, DrawPlan(finding.seed, options.plan), {}};
  Outcome outcome = RunIsolated(record.plan, run);
  record.decisions = std::move(outcome.decisions);
  *pLines = std::move(outcome.lines);
  return record;
}

std::string FirstBroken(const Record& record) {
  const Outcome outcome = RunIsolated(record.plan, record.Options());
  return outcome.violations.empty() ? std::string() : outcome.violations.front().property;
}

}  // namespace explorer
