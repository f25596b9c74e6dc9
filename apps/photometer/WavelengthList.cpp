#include "WavelengthList.h"

#include <charconv>
#include <cmath>

#include <fmt/format.h>

namespace host {

namespace {

constexpr std::string_view Blanks = " \t";

std::string_view Trimmed(std::string_view text) {
  const std::size_t nFirst = text.find_first_not_of(Blanks);
  if (nFirst == std::string_view::npos) {
    return {};
  }
  return text.substr(nFirst, text.find_last_not_of(Blanks) - nFirst + 1);
}

}  // namespace

std::optional<double> ParseReal(std::string_view text) {
  double dValue = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), dValue);
  if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(dValue)) {
    return std::nullopt;
  }
  return dValue;
}

std::string FormatReal(double dValue) { return fmt::format("{}", dValue); }

std::variant<std::vector<double>, std::string> ParseWavelengths(std::string_view text) {
  std::vector<double> wavelengths;
  for (std::size_t nStart = 0; nStart <= text.size();) {
    const std::size_t nComma = std::min(text.find(',', nStart), text.size());
    const std::string_view entry = Trimmed(text.substr(nStart, nComma - nStart));
    const std::optional<double> wavelength = ParseReal(entry);
    if (!wavelength) {
      return fmt::format(
          "entry {} (\"{}\") is not a number; write wavelengths in nm, separated by commas, as 345,436.5,525",
          wavelengths.size() + 1, entry);
    }
    wavelengths.push_back(*wavelength);
    nStart = nComma + 1;
  }
  return wavelengths;
}

std::string ComplainOutOfRange(const std::vector<double>& wavelengths, double dLowest, double dHighest) {
  for (std::size_t i = 0; i < wavelengths.size(); ++i) {
    if (!(wavelengths[i] >= dLowest && wavelengths[i] <= dHighest)) {
      return fmt::format("entry {} ({} nm) is out of range; {} to {} nm are possible", i + 1, wavelengths[i], dLowest,
                         dHighest);
    }
  }
  return {};
}

}  // namespace host
