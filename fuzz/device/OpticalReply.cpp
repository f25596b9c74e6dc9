// Input: how long an answer may be (a byte), and what the optical unit sends after a command, in pieces.
// Checks: the judge gives 0, 2 (silence), 3 (too long) or 4 (error) and nothing else; it says 0 never without "ok", 4
// never without "error", 3 never within the limit, 2 never when one of the words came in time; and whatever it was, the
// next command gets its own answer.
#include "support/DeviceBench.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using photometer::DWORD;

/// Ends all pauses but the long ones, ms.
constexpr DWORD ALL_COME = 2000;

bool Has(const std::string& text, const char* word) { return text.find(word) != std::string::npos; }

void CheckVerdict(DWORD dwResult, std::size_t nLongest, const std::string& came) {
  // Of what is longer, the judge has not looked behind the limit.
  const std::string judged = came.substr(0, nLongest);
  switch (dwResult) {
    case 0:
      return Require(Has(judged, "ok"), "ok without its bytes");
    case photometer::CAUSE_SILENCE:
      return Require(came.size() <= nLongest && !Has(came, "ok") && !Has(came, "error"),
                     "silence in spite of an answer");
    case photometer::CAUSE_TOO_LONG:
      return Require(came.size() > nLongest, "too long within the limit");
    case photometer::CAUSE_ERROR:
      return Require(Has(judged, "error"), "error without its bytes");
    default:
      return Require(false, "a result that no command has: " + std::to_string(dwResult));
  }
}

void Check(std::string_view input) {
  const std::size_t nLongest = fuzz::TakeByte(&input);
  const std::vector<fuzz::Piece> pieces = fuzz::TakePieces(input);
  fuzz::DeviceBench bench(fuzz::FarEnd::OpticalUnit);
  bench.device.Answer(pieces);
  bench.device.Answer({{"error\r\n", 150'000}});
  const DWORD dwResult = bench.link.SendCommand("$F1\r", static_cast<DWORD>(nLongest));
  CheckVerdict(dwResult, nLongest, fuzz::InTime(pieces));
  if (fuzz::HasLongPause(pieces)) {
    return;
  }
  if (dwResult == 0 || dwResult == photometer::CAUSE_ERROR) {
    photometer::Sleep(ALL_COME);  // an answer has ended; what follows its word is the line end, in what time it likes
  }
  // A device that still talks does not hear the command, and the link must wait until it is quiet.
  Require(bench.link.SendCommand("$F2\r", 255) == photometer::CAUSE_ERROR, "the next command gets its own answer");
}

const fuzz::Target target("OpticalReply", Check);

}  // namespace
