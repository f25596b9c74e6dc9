// Input: a point list of the settings file; its parts are decimal numbers.
// Checks: numbers are those that the C library reads, and finite; a list has no more points than items; a list that was
// written is read back to the same text; merging changes no wavelength and adds nothing.
#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>

#include "settings/DecimalText.h"
#include "settings/PointListText.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using photometer::PointList;

/// The C library also takes "inf", "nan" and hexadecimal, which are no numbers here.
bool IsOrdinary(std::string_view text) { return text.find_first_of("nNiIxX\0", 0, 7) == std::string_view::npos; }

void CheckNumber(std::string_view text) {
  const double dFound = photometer::ParseReal(text);
  Require(std::isfinite(dFound), "a real is finite");
  const std::string fixed = photometer::FormatFixed(dFound, 3);
  Require(fixed == photometer::FormatFixed(photometer::ParseReal(fixed), 3), "a written real is read back");
  if (!IsOrdinary(text)) {
    return;
  }
  constexpr double LARGEST = std::numeric_limits<double>::max();
  const std::string copy(text);
  const double dExpected = std::strtod(copy.c_str(), nullptr);
  // Numbers below the range are 0 here, and the nearest one there.
  if (std::abs(dExpected) >= std::numeric_limits<double>::min()) {
    Require(dFound == std::clamp(dExpected, -LARGEST, LARGEST), "the C library's number");
  }
  const long long nExpected = std::strtoll(copy.c_str(), nullptr, 10);
  const auto iExpected = std::clamp<long long>(nExpected, std::numeric_limits<photometer::LONG>::min(),
                                               std::numeric_limits<photometer::LONG>::max());
  Require(photometer::ParseInteger(text) == iExpected, "the C library's integer");
}

void CheckMerge(const PointList& list) {
  PointList target{{345.0, 1.0}, {345.0, 2.0}, {350.0, 3.0}};
  const PointList before = target;
  photometer::MergePointList(&target, list);
  Require(target.size() == before.size(), "merging adds nothing");
  for (std::size_t n = 0; n < target.size(); ++n) {
    Require(target[n].dWavelength == before[n].dWavelength, "merging changes no wavelength");
  }
}

void Check(std::string_view input) {
  CheckNumber(input);
  const PointList list = photometer::ParsePointList(input);
  Require(list.size() <= static_cast<std::size_t>(std::ranges::count(input, ';')) + 1, "no more points than items");
  CheckMerge(list);
  // The first text may have lost digits of numbers that are too long for an entry; from then on nothing changes.
  const std::string text = photometer::FormatPointList(list);
  const std::string again = photometer::FormatPointList(photometer::ParsePointList(text));
  const bool bShort = std::ranges::all_of(list, [](const photometer::PointListEntry& entry) {
    return std::abs(entry.dWavelength) < 1e9 && std::abs(entry.dValue) < 1e9;
  });
  Require(!bShort || again == text, "a written list is read back to the same text");
}

const fuzz::Target target("PointList", Check);

}  // namespace
