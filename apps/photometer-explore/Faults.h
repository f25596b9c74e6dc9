/// The faults of a plan, by name. Times are virtual milliseconds since the start of the run; a fault without an end
/// lasts until the world is healed.
///
/// | Fault | Numbers, bytes |
/// |---|---|
/// | `unit-answer` `zq410-answer` `zq420-answer` | begin, kind (a `simulator::FaultKind`), letter, how-manieth, delay
/// (µs), count, first; bytes | | `unit-off` `zq410-off` `zq420-off` | begin, end: without power | | `unplug` | begin,
/// end, number of the port (1, 2 or 6) | | `fail` | 0, what (a `Failing`), number of the call | | `pin` | begin, end,
/// pin that cannot be read | | `no-card` `no-folder` | begin, end: `\SDMemory`, `\NANDFlash\Logging` are gone | |
/// `full` | begin, end: nothing can be written | | `halogen` | begin, end, share of the lamp's light | | `deuterium` |
/// begin, end: the lamp does not light | | `cuvette` | begin, end, size that stands in the holder | | `unasked` |
/// begin; bytes from the optical unit | | `flood` | begin, end, bytes per second; pattern | | `key-a` `key-b` | begin:
/// a key of the ZQ-410 | | `quiet` | begin: the ZQ-410's keep-alives stop | | `pump-fault` | begin, end, number of the
/// ZQ-420's fault, delay (µs) |
#pragma once

#include <cstdint>
#include <optional>

#include "Clause.h"
#include "Draw.h"
#include "Plan.h"

namespace explorer {

class World;

struct FaultTimes {
  std::uint64_t nBegin = 0;
  std::optional<std::uint64_t> nEnd;
};

[[nodiscard]] FaultTimes TimesOf(const Clause& fault);
void BeginFault(World& world, const Clause& fault);
/// Ends it, also if it never began.
void EndFault(World& world, const Clause& fault);
Clause DrawFault(Draw& draw, const Profile& profile);
[[nodiscard]] bool IsFault(std::string_view name);

}  // namespace explorer
