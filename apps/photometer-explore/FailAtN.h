/// Lets the calls of each call site into the layer fail in turn, once and for ever, in a procedure's plan.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "Ledger.h"
#include "Plan.h"
#include "platform/virtual/FailingCalls.h"

namespace explorer {

struct FailAtNFinding {
  photometer::platform::SiteName site;
  std::uint64_t nCall = 1;
  bool bForEver = false;
  Violation violation;

  /// `src/optics/OpticalLink.cpp:88 WriteFile, call 3`.
  [[nodiscard]] std::string Where() const;
};

struct FailAtNResult {
  std::uint64_t nRuns = 0;
  std::vector<photometer::platform::ReachedSite> reached;
  std::vector<FailAtNFinding> findings;
};

/// The call sites that the plan reaches, with everything in order.
std::vector<photometer::platform::ReachedSite> SitesOf(Plan plan);

/// Each site's first `nMostCalls` calls once each, and from its first and its middle call on for ever. Every run is a
/// process of its own.
FailAtNResult FailAtN(const Plan& plan, std::uint64_t nMostCalls);

}  // namespace explorer
