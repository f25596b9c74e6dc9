/// The operations of the host: the 42 of the interface and a few of its own, by name.
#pragma once

#include <cstdint>
#include <span>
#include <string_view>

#include "Clause.h"
#include "Draw.h"
#include "Plan.h"
#include "photometer/IPhotometer.h"

namespace explorer {

class Host;

/// What an operation may answer.
enum class Answers : std::uint8_t {
  Nothing,    ///< anything: it is a value
  Ok,         ///< 0
  OkOrFail,   ///< 0 or E_FAIL
  Start,      ///< 0, E_FAIL or E_INVALIDARG
  ScanStart,  ///< 0, E_FAIL, E_INVALIDARG or E_ACCESSDENIED
  Lifecycle,  ///< 0, E_FAIL, E_ACCESSDENIED or E_POINTER
  Pointer,    ///< E_POINTER
  ZeroOrOne   ///< 0 or 1
};

struct Operation {
  std::string_view name;
  /// How often it is drawn, against the others.
  unsigned nWeight;
  /// Library threads that the operation starts when it answers 0; empty: none.
  std::string_view thread;
  Answers answers;
  /// Its numbers and bytes.
  void (*draw)(Draw& draw, const Profile& profile, Clause* pClause);
  /// On the device, or on what else the host has.
  std::int64_t (*perform)(Host& host, photometer::IPhotometer& device, const Clause& clause);
};

/// The operations that any thread may call at any time. Those that need care (`initialize`, `shutdown`, `release`) are
/// among them.
std::span<const Operation> Operations();
/// Null: there is none of that name.
const Operation* FindOperation(std::string_view name);
Clause DrawOperation(Draw& draw, Draw& requests, const Profile& profile);
/// Whether a result is one that the operation may have.
bool IsAllowed(Answers answers, std::int64_t nResult);

}  // namespace explorer
