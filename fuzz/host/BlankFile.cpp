// Input: a result file that serves as blank, CSV or JSON.
// Checks: either a message that names the file and can be shown, or a blank whose values are numbers above 0.
#include <cmath>

#include "Blank.h"
#include "support/Target.h"

namespace {

using fuzz::Require;

void Check(std::string_view input) {
  const auto parsed = host::Blank::Parse("blank.csv", input);
  if (const auto* pComplaint = std::get_if<std::string>(&parsed)) {
    fuzz::RequireMessage(*pComplaint, "blank.csv");
    return fuzz::RequirePrintable(*pComplaint);
  }
  const auto& blank = std::get<host::Blank>(parsed);
  for (const double dWavelength : {190.0, 260.0, 345.0, 436.5, 525.0, 1100.0}) {
    if (const auto pair = blank.At(dWavelength)) {
      Require(
          std::isfinite(pair->dSample) && std::isfinite(pair->dReference) && pair->dSample > 0 && pair->dReference > 0,
          "a blank saw light");
    }
  }
}

const fuzz::Target target("BlankFile", Check);

}  // namespace
