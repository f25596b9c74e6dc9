/// Small scenarios by name: a plan, and the moment at which something else happens beside it.
///
/// The moment is an event of the undisturbed run. The window begins a few scheduling points before it; an exhaustive
/// search lets the disturbance begin at each point of the window, and looks at all orders of threads from there on.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "Ledger.h"
#include "Plan.h"

namespace explorer {

struct Scenario {
  std::string name;
  Plan plan;
  /// The event: of this kind and name, with this second number (−1: any); the `nNth` of them, from 1.
  EventKind kind = EventKind::Callback;
  std::string event;
  std::int64_t b = -1;
  std::size_t nNth = 1;
  /// So many scheduling points before it the window begins.
  std::uint64_t nBefore = 40;
  /// What the host does in it, on a thread of its own; empty: nothing.
  std::string disturbance;

  /// The scheduling point at which the window begins; nothing: the run had no such event.
  [[nodiscard]] std::optional<std::uint64_t> PointIn(const Ledger& ledger) const;
  /// The plan with the disturbance at a point.
  [[nodiscard]] Plan DisturbedAt(std::uint64_t nPoint) const;
};

/// All of them.
const std::vector<Scenario>& Scenarios();
/// Null: there is none of that name.
const Scenario* FindScenario(std::string_view name);
/// The undisturbed plan of one procedure with a recovery behind it; see `Scenarios.cpp` for the names. Nothing: there
/// is none of that name.
std::optional<Plan> ProcedurePlan(std::string_view name);
std::vector<std::string> ProcedureNames();

}  // namespace explorer
