#include "settings/PointListText.h"

#include <algorithm>

#include "settings/DecimalText.h"

namespace photometer {
namespace {

constexpr char FieldSeparator = ',';
constexpr int WavelengthDecimals = 1;
constexpr int ValueDecimals = 3;
constexpr std::size_t EntryLimit = 31;

PointListEntry ParseEntry(std::string_view item) {
  const std::size_t nComma = item.find(FieldSeparator);
  if (nComma == std::string_view::npos) {
    return {0, 0};
  }
  return {ParseReal(item.substr(0, nComma)), ParseReal(item.substr(nComma + 1))};
}

std::string FormatEntry(const PointListEntry& entry) {
  const std::string text =
      FormatFixed(entry.dWavelength, WavelengthDecimals) + FieldSeparator + FormatFixed(entry.dValue, ValueDecimals);
  return text.substr(0, EntryLimit);
}

}  // namespace

PointList ParsePointList(std::string_view text) {
  PointList list;
  while (!text.empty()) {
    const std::size_t nEnd = std::min(text.find(EntrySeparator), text.size());
    if (nEnd > 0) {
      list.push_back(ParseEntry(text.substr(0, nEnd)));
    }
    text.remove_prefix(std::min(nEnd + 1, text.size()));
  }
  return list;
}

void MergePointList(PointList* pTarget, const PointList& source) {
  for (PointListEntry& entry : *pTarget) {
    const auto match = std::find_if(source.begin(), source.end(), [&entry](const PointListEntry& candidate) {
      return candidate.dWavelength == entry.dWavelength;
    });
    if (match != source.end()) {
      entry = *match;
    }
  }
}

std::string FormatPointList(const PointList& list) {
  std::string text;
  for (const PointListEntry& entry : list) {
    if (!text.empty()) {
      text += EntrySeparator;
    }
    text += FormatEntry(entry);
  }
  return text;
}

}  // namespace photometer
