/// A failure on file: the plan, the order of threads, and what was broken. Text, one thing a line:
///
///     photometer-explore record 1
///     # comments and empty lines are passed over
///     seed 4711
///     violated one end
///     text Measure with request 1: 0 times finished, ...
///     profile uv 1
///     step host 0 initialize 2
///     fault unit-answer 0 0 104 1 0 0 0
///     recovery 1
///     decision switch 3@17 2
///
/// The order of the `step` lines of one thread is that in which it carries them out. A plan without decisions runs
/// first come, first served.
#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "Plan.h"
#include "Run.h"
#include "platform/virtual/Decision.h"

namespace explorer {

struct Record {
  std::uint64_t seed = 1;
  /// What was broken.
  Violation violation;
  Plan plan;
  photometer::platform::DecisionList decisions;

  /// How the record is run again.
  [[nodiscard]] RunOptions Options() const;
};

std::string ToText(const Record& record);
/// Nothing when the text is no record; `pWrong` says which line is wrong, and why.
std::optional<Record> ParseRecord(std::string_view text, std::string* pWrong);

bool WriteRecord(const Record& record, const std::string& path);
/// Nothing when there is no such file or it is no record; `pWrong` says what is wrong.
std::optional<Record> ReadRecord(const std::string& path, std::string* pWrong);

}  // namespace explorer
