// Input: a key, a name and the text of the registry file, each ended by a line end.
// Checks: a text that is read is written back as it stands, but for the end of its last line; a value that was set is
// found, also after writing and reading, and no other line has changed.
#include <algorithm>
#include <iterator>

#include "platform/posix/RegistryText.h"
#include "support/Lines.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using photometer::platform::RegistryText;

constexpr photometer::DWORD VALUE = 4'294'967'295;

std::string Ended(std::string_view text) {
  return std::string(text) + (text.empty() || text.ends_with('\n') ? "" : "\n");
}

/// Lines of one text that the other does not have.
std::ptrdiff_t Lost(const std::string& from, const std::string& to) {
  std::vector<std::string> had = fuzz::LinesOf(from);
  std::vector<std::string> has = fuzz::LinesOf(to);
  std::ranges::sort(had);
  std::ranges::sort(has);
  std::vector<std::string> lost;
  std::ranges::set_difference(had, has, std::back_inserter(lost));
  return std::ssize(lost);
}

void Check(std::string_view input) {
  const std::string key = fuzz::TakeLine(&input);
  const std::string name = fuzz::TakeLine(&input);
  std::optional<RegistryText> registry = RegistryText::Parse(input);
  if (!registry) {
    return;
  }
  const std::string before = registry->ToText();
  fuzz::RequireEqual(before, Ended(input), "written as it was read");
  const bool bHadKey = registry->HasKey(key);
  const bool bSet = registry->Set(key, name, VALUE);
  const std::string after = registry->ToText();
  if (!bSet) {
    return fuzz::RequireEqual(after, before, "what cannot be set changes nothing");
  }
  Require(bHadKey && registry->Find(key, name) == VALUE, "a value that was set is found");
  const std::optional<RegistryText> again = RegistryText::Parse(after);
  Require(again && again->Find(key, name) == VALUE, "a value that was set is read back");
  Require(Lost(before, after) <= 1 && Lost(after, before) <= 1, "one line has changed");
}

const fuzz::Target target("RegistryFile", Check);

}  // namespace
