// Input: a list of wavelengths on the command line.
// Checks: an entry for each comma and one more, all finite, the same again when written; or a message that names the
// entry.
#include "WavelengthList.h"

#include <algorithm>
#include <cmath>

#include "support/Target.h"

namespace {

using fuzz::Require;
using Wavelengths = std::vector<double>;

void Check(std::string_view input) {
  const auto parsed = host::ParseWavelengths(input);
  if (const auto* pComplaint = std::get_if<std::string>(&parsed)) {
    return fuzz::RequireMessage(pComplaint->substr(0, 40), "entry ");
  }
  const auto& wavelengths = std::get<Wavelengths>(parsed);
  Require(static_cast<std::ptrdiff_t>(wavelengths.size()) == std::ranges::count(input, ',') + 1, "an entry each");
  std::string text;
  for (const double dWavelength : wavelengths) {
    Require(std::isfinite(dWavelength), "finite");
    text += (text.empty() ? "" : ",") + host::FormatReal(dWavelength);
  }
  const auto again = host::ParseWavelengths(text);
  Require(std::holds_alternative<Wavelengths>(again) && std::get<Wavelengths>(again) == wavelengths,
          "a written list is the same list");
  const bool bInRange = std::ranges::all_of(wavelengths, [](double d) { return d >= 190.0 && d <= 1100.0; });
  Require(host::ComplainOutOfRange(wavelengths, 190.0, 1100.0).empty() == bInRange, "the range is kept");
}

const fuzz::Target target("WavelengthList", Check);

}  // namespace
