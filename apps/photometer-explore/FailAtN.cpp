#include "FailAtN.h"

#include <algorithm>
#include <memory>
#include <set>

#include "Isolation.h"
#include "Run.h"

namespace explorer {

using photometer::platform::FailingCalls;
using photometer::platform::HowOften;
using photometer::platform::LayerCall;
using photometer::platform::ReachedSite;
using photometer::platform::SiteName;

namespace {

RunOptions Quiet() {
  RunOptions options;
  options.scheduling = Scheduling::FirstCome;
  return options;
}

/// A write or a line that never reached the board was tried all the same, and nobody can see that.
bool IsUnseen(const SiteName& site, const Violation& violation) {
  const bool bLamps = violation.property == "halogen lamp off" || violation.property == "all off after Shutdown";
  const bool bRecords = violation.property == "one error record";
  return (site.call == LayerCall::WriteFile && bLamps) || (site.call == LayerCall::AppendFileW && bRecords);
}

class SiteRuns {
 public:
  SiteRuns(const Plan& plan, FailAtNResult* pResult) : m_plan(plan), m_pResult(pResult) {}

  void Try(const SiteName& site, std::uint64_t nCall, HowOften howOften) {
    FailingCalls failing;
    failing.Fail(site, nCall, howOften);
    RunOptions options = Quiet();
    options.onHeal = [&failing] { failing.Restart(); };
    const Outcome outcome = RunIsolated(m_plan, options);
    ++m_pResult->nRuns;
    for (const Violation& violation : outcome.violations) {
      if (!IsUnseen(site, violation)) {
        m_pResult->findings.push_back({site, nCall, howOften == HowOften::Always, violation});
        return;
      }
    }
  }

 private:
  const Plan& m_plan;
  FailAtNResult* m_pResult;
};

}  // namespace

std::string FailAtNFinding::Where() const {
  return ToText(site) + ", call " + std::to_string(nCall) + (bForEver ? " and all after it" : "");
}

std::vector<ReachedSite> SitesOf(Plan plan) {
  const FailingCalls counting;
  plan.bRecovery = false;
  RunPlan(plan, Quiet());
  return counting.Reached();
}

FailAtNResult FailAtN(const Plan& plan, std::uint64_t nMostCalls) {
  FailAtNResult result;
  result.reached = SitesOf(plan);
  SiteRuns runs(plan, &result);
  for (const ReachedSite& site : result.reached) {
    for (std::uint64_t n = 1; n <= std::min(site.nCalls, nMostCalls); ++n) {
      runs.Try(site.name, n, HowOften::Once);
    }
    for (const std::uint64_t n : std::set<std::uint64_t>{1, site.nCalls / 2 + 1}) {
      runs.Try(site.name, n, HowOften::Always);
    }
  }
  return result;
}

}  // namespace explorer
