/// A property of a run, and what it is judged by.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Ledger.h"
#include "ProcedureRuns.h"

namespace explorer {

/// What a run leaves behind to be judged.
struct Evidence {
  const Ledger& ledger;
  ProcedureRuns runs;
  /// The board's own: rules that were broken, and what is alive after the end.
  std::vector<std::string> reports;
  std::vector<std::string> leftovers;
  /// At the end of the run, with everything healed, the unit's lamps and fan.
  bool bUnitDark = true;
  /// Nothing was wrong at the optical unit's line, its port and its power.
  bool bLineSound = true;
  /// And no call of the system failed.
  bool bSystemSound = true;
};

/// What breaks a property; nothing: it holds.
using Finding = std::optional<std::string>;

struct Property {
  std::string_view name;
  std::string_view meaning;
  Finding (*check)(const Evidence& evidence);
};

}  // namespace explorer
