/// The choices of a run that differ from what first come, first served would have done: who runs, who gets a lock or
/// event, how late a deadline comes, how many bytes a port's FIFO collects.
///
/// A decision is bound to a call of a thread, and not to a count over all threads: with one entry left out, the others
/// still meet their calls, so that a list can be shrunk. The list of a run, replayed, gives the same run to the byte.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Types.h"

namespace photometer::platform {

enum class DecisionKind : unsigned char {
  /// At the beginning of a call: the thread that runs in the place of the caller (the caller itself: it goes on, where
  /// its turn was over).
  Switch,
  /// The caller cannot go on: the thread that runs next.
  Next,
  /// The caller frees a lock or sets an auto-reset event: the thread that gets it.
  Waiter,
  /// The caller begins a timed wait: microseconds that it ends late.
  Late,
  /// A port's FIFO begins to fill: bytes at which it is emptied.
  Block,
  /// At the beginning of a call: microseconds for which the caller is held up.
  HoldUp,
  /// The caller is held up: the thread that runs next. No `Next`, whose numbers would be others without the hold-up.
  Meanwhile
};

struct Decision {
  DecisionKind kind{};
  /// Number of the calling thread: 1 is "main", then in the order of creation. `Block`: of the port, in the order of
  /// plugging in, from 1.
  DWORD dwWho = 0;
  /// Which of its calls of the layer, from 1; 0: before the first. `Block`: which of the port's blocks, from 1.
  std::uint64_t nCall = 0;
  /// Which `Next` of that call, from 0; other kinds: 0.
  unsigned nNth = 0;
  /// Thread number, microseconds, or bytes.
  std::uint64_t nChoice = 0;

  bool operator==(const Decision&) const = default;
  bool operator<(const Decision& other) const;
};

using DecisionList = std::vector<Decision>;

/// One line each: `switch 3@17 2` (thread 3, at its 17th call, gives way to 2), `next 3@17.1 4`, `waiter 1@5 3`,
/// `late 2@9 1500`, `block 1@3 200`, `hold 2@12 900`, `meanwhile 2@12 3`.
std::string ToText(const DecisionList& decisions);
/// Lines as above; nothing when one is not. Empty lines and those that begin with `#` are passed over.
std::optional<DecisionList> ParseDecisions(std::string_view text);

}  // namespace photometer::platform
