/// Point lists as text of the settings file, and their update from another list. Plain functions, for any thread.
#pragma once

#include <string>
#include <string_view>

#include "photometer/Settings.h"

namespace photometer {

/// Between two entries.
inline constexpr char EntrySeparator = ';';

/// The list of a text "345.0,0.000;350.0,0.012", in its order. Empty items are skipped; an item without "," is (0, 0).
PointList ParsePointList(std::string_view text);

/// Gives each entry of the target the values of the source's first entry of exactly the same wavelength; the others
/// remain, and nothing is added.
void MergePointList(PointList* pTarget, const PointList& source);

/// The text of a list: one decimal of the wavelength, three of the value, at most 31 characters an entry.
std::string FormatPointList(const PointList& list);

}  // namespace photometer
