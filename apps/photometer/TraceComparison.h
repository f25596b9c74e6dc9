/// Whether a replay did what its trace says, and where it first did not.
///
/// A trace of real ports has the jitter of real time: compared is, in order, what was sent to each port, what the host
/// was told, what was logged (without its time stamps), outputs set, requests and the exit code. Lines of threads that
/// do not wait for one another may stand in another order. In virtual time everything but the blocks that were read
/// can be compared, with its times.
#pragma once

#include <cstddef>
#include <optional>
#include <string>

#include "Trace.h"

namespace host {

enum class Comparison { Order, Times };

/// The first difference, in the replay's order.
struct TraceDifference {
  /// Line of the trace that something else came for, or that did not come; 0: more came than the trace has.
  std::size_t nLine;
  /// Empty for that.
  std::string expected;
  /// What came, with its time; empty when nothing did.
  std::string came;
};

/// Of an incomplete trace, what the replay did beyond it is no difference.
std::optional<TraceDifference> Compare(const Trace& trace, const Trace& replay, Comparison comparison);

/// `COM2>  $a3\x0D`, with the time in ms in front.
std::string ShowTraceLine(const TraceLine& line);

}  // namespace host
