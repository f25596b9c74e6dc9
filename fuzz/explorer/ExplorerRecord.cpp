// Input: a record of the explorer.
// Checks: either a message about a line, or a record that is written and read back to the same, text and plan.
#include "Record.h"
#include "support/Target.h"

namespace {

using fuzz::Require;

void Check(std::string_view input) {
  std::string wrong;
  const auto record = explorer::ParseRecord(input, &wrong);
  if (!record) {
    return fuzz::RequireMessage(wrong, input.empty() ? "empty" : "line ");
  }
  const std::string text = explorer::ToText(*record);
  const auto again = explorer::ParseRecord(text, &wrong);
  Require(again.has_value(), "a written record is read: " + wrong);
  Require(again->plan == record->plan && again->decisions == record->decisions && again->seed == record->seed,
          "a written record is the same record");
  fuzz::RequireEqual(explorer::ToText(*again), text, "a written record is read back to the same bytes");
}

const fuzz::Target target("ExplorerRecord", Check);

}  // namespace
