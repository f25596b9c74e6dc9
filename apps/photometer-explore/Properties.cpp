#include "Properties.h"

#include <array>

#include "CancelChecks.h"
#include "RunChecks.h"
#include "UnitChecks.h"

namespace explorer {

namespace {

Finding First(const std::vector<std::string>& texts) { return texts.empty() ? std::nullopt : Finding(texts.front()); }

Finding BoardRules(const Evidence& evidence) { return First(evidence.reports); }

Finding NothingLeft(const Evidence& evidence) { return First(evidence.leftovers); }

/// Noted by whoever sees it.
Finding SeenOnTheWay(const Evidence& /*evidence*/) { return std::nullopt; }

constexpr std::array<Property, 17> Table{{
    {"board rules", "no deadlock, no cycle of locks, no lock held across a wait, no closed handle used, no spinning",
     BoardRules},
    {"nothing left", "no handle and no thread is left", NothingLeft},
    {"flat memory", "a run leaves nothing allocated, and needs a bounded amount", SeenOnTheWay},
    {"callbacks never overlap", "no callback begins inside another thread's", SeenOnTheWay},
    {"no callback after Shutdown", "no callback begins after Shutdown was called", SeenOnTheWay},
    {"Shutdown within 3 s", "Shutdown and the last Release return within 3 s", SeenOnTheWay},
    {"never stuck", "busy is cleared, and threads end", SeenOnTheWay},
    {"whole log lines", "each line for a file is one whole line", SeenOnTheWay},
    {"lamp counters never shrink", "hours of the lamps only grow", SeenOnTheWay},
    {"answers", "each operation answers one of its codes", SeenOnTheWay},
    {"references", "the last Release finds no reference left", SeenOnTheWay},
    {"no crash", "the process survives the run, and the run ends", SeenOnTheWay},
    {"whole settings", "the settings' file is whole, old or new", SeenOnTheWay},
    {"next start", "with everything in order again, the same device measures right, and flushes", SeenOnTheWay},
    {"lamp as told", "behind the programme the deuterium lamp burns when the device says so", SeenOnTheWay},
    {"right settings", "after the programme a measurement sets the unit as a fresh device does", SeenOnTheWay},
    {"recovery", "with everything in order a start-up and a measurement succeed and give right values", SeenOnTheWay},
}};

std::vector<Property> AllProperties() {
  std::vector<Property> all;
  for (const std::span<const Property> some :
       {RunProperties(), CancelProperties(), UnitProperties(), std::span<const Property>(Table)}) {
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

}  // namespace

const std::vector<Property>& Properties() {
  static const std::vector<Property> all = AllProperties();
  return all;
}

std::vector<Violation> Judge(const Evidence& evidence) {
  std::vector<Violation> violations = evidence.ledger.Violations();
  for (const Property& property : Properties()) {
    if (const Finding finding = property.check(evidence)) {
      violations.push_back({std::string(property.name), *finding});
    }
  }
  return violations;
}

}  // namespace explorer
