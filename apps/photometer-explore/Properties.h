/// What must hold after every run, whatever happened in it: one table.
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

struct Property {
  std::string_view name;
  std::string_view meaning;
  /// What breaks it; nothing: it holds.
  std::optional<std::string> (*check)(const Evidence& evidence);
};

std::span<const Property> Properties();

/// The properties that do not hold, those seen while the run was going on first.
std::vector<Violation> Judge(const Evidence& evidence);

}  // namespace explorer
