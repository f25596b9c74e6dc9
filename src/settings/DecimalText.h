/// Decimal numbers as text, the same in every locale.
///
/// Reading follows the C library's prefix rules: white space, a sign, then as many characters as make a number; what
/// follows is ignored. Hexadecimal, "inf" and "nan" are no numbers. Plain functions, for any thread.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "photometer/Types.h"

namespace photometer {

/// Takes an integer from the front of the text, and leaves what follows it. Beyond 32 bits it is the nearest that fits.
/// Nothing, and the text unchanged, when there is none.
std::optional<LONG> TakeInteger(std::string_view* pText);

/// The integer at the front of the text, or 0.
LONG ParseInteger(std::string_view text);

/// The real at the front of the text, or 0. Finite: beyond the range it is the largest double of its sign, or 0.
double ParseReal(std::string_view text);

/// The value with so many decimals, rounded from its exact value; no exponent. Infinity is the largest double of its
/// sign, not a number is 0: what is written can be read.
std::string FormatFixed(double dValue, int iDecimals);

}  // namespace photometer
