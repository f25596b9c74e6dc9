#include "settings/DecimalText.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <limits>

namespace photometer {
namespace {

constexpr std::string_view WhiteSpace = " \t\n\v\f\r";
constexpr std::string_view Digits = "0123456789";

bool IsDigit(char character) { return character >= '0' && character <= '9'; }

std::string_view SkipWhiteSpace(std::string_view text) {
  return text.substr(std::min(text.find_first_not_of(WhiteSpace), text.size()));
}

/// Takes the sign away; true for minus.
bool TakeSign(std::string_view* pText) {
  if (pText->empty() || (pText->front() != '-' && pText->front() != '+')) {
    return false;
  }
  const bool bNegative = pText->front() == '-';
  pText->remove_prefix(1);
  return bNegative;
}

bool BeginsUnsignedReal(std::string_view text) {
  if (text.starts_with('.')) {
    text.remove_prefix(1);
  }
  return !text.empty() && IsDigit(text.front());
}

/// Of a real outside the range of double: whether it is too large, and not too small. Both ends are more than 300
/// powers of ten away from 1, so the power of its first digit, give or take one, tells.
bool IsTooLarge(std::string_view number) {
  const std::size_t nExponent = number.find_first_of("eE");
  const std::int64_t nPower = nExponent < number.size() ? ParseInteger(number.substr(nExponent + 1)) : 0;
  const std::string_view mantissa = number.substr(0, nExponent);
  const auto nPoint = static_cast<std::int64_t>(std::min(mantissa.find('.'), mantissa.size()));
  const auto nFirstDigit = static_cast<std::int64_t>(std::min(mantissa.find_first_not_of("0."), mantissa.size()));
  return nPower + nPoint - nFirstDigit > 0;
}

double ParseUnsignedReal(std::string_view text) {
  double dValue = 0;
  const auto [pEnd, error] = std::from_chars(text.data(), text.data() + text.size(), dValue);
  if (error == std::errc()) {
    return dValue;
  }
  const std::string_view number = text.substr(0, static_cast<std::size_t>(pEnd - text.data()));
  return IsTooLarge(number) ? std::numeric_limits<double>::max() : 0;
}

}  // namespace

std::optional<LONG> TakeInteger(std::string_view* pText) {
  std::string_view text = SkipWhiteSpace(*pText);
  const bool bNegative = TakeSign(&text);
  const std::string_view digits = text.substr(0, text.find_first_not_of(Digits));
  if (digits.empty()) {
    return std::nullopt;
  }

  std::int64_t nValue = std::numeric_limits<std::int64_t>::max();
  std::from_chars(digits.data(), digits.data() + digits.size(), nValue);
  *pText = text.substr(digits.size());
  return static_cast<LONG>(std::clamp<std::int64_t>(bNegative ? -nValue : nValue, std::numeric_limits<LONG>::min(),
                                                    std::numeric_limits<LONG>::max()));
}

LONG ParseInteger(std::string_view text) { return TakeInteger(&text).value_or(0); }

double ParseReal(std::string_view text) {
  text = SkipWhiteSpace(text);
  const bool bNegative = TakeSign(&text);
  if (!BeginsUnsignedReal(text)) {
    return 0;
  }
  const double dValue = ParseUnsignedReal(text);
  return bNegative ? -dValue : dValue;
}

std::string FormatFixed(double dValue, int iDecimals) {
  constexpr double Largest = std::numeric_limits<double>::max();
  dValue = std::isnan(dValue) ? 0 : std::clamp(dValue, -Largest, Largest);
  std::array<char, 512> buffer{};
  const auto [pEnd, error] =
      std::to_chars(buffer.data(), buffer.data() + buffer.size(), dValue, std::chars_format::fixed, iDecimals);
  return error == std::errc() ? std::string(buffer.data(), pEnd) : std::string();
}

}  // namespace photometer
