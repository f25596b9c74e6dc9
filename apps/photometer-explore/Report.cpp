#include "Report.h"

#include <algorithm>
#include <cctype>

#include <fmt/format.h>

#include "Properties.h"

namespace explorer {

namespace {

constexpr std::size_t DecisionsShown = 20;

}  // namespace

std::string FindingText(const Record& record, const std::vector<std::string>& lines, const std::string& path) {
  std::string text =
      fmt::format("seed {}: \"{}\" is broken: {}\n", record.seed, record.violation.property, record.violation.text);
  Record shown = record;
  shown.decisions.resize(std::min(shown.decisions.size(), DecisionsShown));
  text += "\n" + ToText(shown);
  if (record.decisions.size() > DecisionsShown) {
    text += fmt::format("# and {} decisions more\n", record.decisions.size() - DecisionsShown);
  }
  text += lines.empty() ? "" : "\nThe transcript ends with:\n";
  for (const std::string& line : lines) {
    text += "  " + line + '\n';
  }
  return text + fmt::format("\nRepeat it: photometer-explore --replay {}\n", path);
}

std::string RecordPath(const std::string& folder, const Record& record) {
  std::string name = record.violation.property;
  std::ranges::replace_if(
      name, [](char character) { return std::isalnum(static_cast<unsigned char>(character)) == 0; }, '-');
  return fmt::format("{}/record-{}-{}.txt", folder, record.seed, name);
}

std::string PropertyList() {
  std::string text;
  for (const Property& property : Properties()) {
    text += fmt::format("  {:<30} {}\n", property.name, property.meaning);
  }
  return text;
}

}  // namespace explorer
