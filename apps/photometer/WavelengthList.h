/// A list of wavelengths on the command line: "345,436.5,525".
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace host {

/// The number that the whole text is, with a point in every locale; nothing for anything else, NaN and infinity too.
std::optional<double> ParseReal(std::string_view text);

/// A number as short as it can be written.
std::string FormatReal(double dValue);

/// The wavelengths, nm, in the order given, or what is wrong: which entry, why, and what to write.
std::variant<std::vector<double>, std::string> ParseWavelengths(std::string_view text);

/// What is wrong with the first wavelength outside of the range (both ends belong to it); empty when none is.
std::string ComplainOutOfRange(const std::vector<double>& wavelengths, double dLowest, double dHighest);

}  // namespace host
