// Input: how many bytes the host writes without an exchange (a byte), these bytes, and what the unit sends, in pieces.
// Checks: in pieces or whole, the same answers are owed at the end; a written command is owed one at most; nothing is
// owed longer than a minute; what was forgotten is not owed.
#include "optics/OwedAnswers.h"

#include <algorithm>

#include "support/BoardInUse.h"
#include "support/Pieces.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using photometer::OwedAnswers;

constexpr photometer::DWORD LONGEST = 60'000;

/// So many answers of a word clear everything that is owed.
std::size_t WordsUntilClear(OwedAnswers owed, std::size_t nMost) {
  std::size_t nWords = 0;
  // Long enough for the longest answer that is counted in bytes.
  const std::string answer = std::string(100, 'x') + "ok";
  for (; owed.Rest() != 0 && nWords <= nMost; ++nWords) {
    owed.Take(answer);
  }
  return nWords;
}

void Check(std::string_view input) {
  const std::size_t nWritten = fuzz::TakeByte(&input);
  const std::string_view written = input.substr(0, nWritten);
  const std::vector<fuzz::Piece> pieces = fuzz::TakePieces(input.substr(written.size()));
  const fuzz::BoardInUse board;
  OwedAnswers whole;
  OwedAnswers split;
  bool bStream = false;
  for (const char byte : written) {
    bStream = split.Note({&byte, 1}) || bStream;
  }
  Require(whole.Note(written) == bStream, "a stream that begins");
  const auto nCommands = static_cast<std::size_t>(std::ranges::count(written, '\r'));
  whole.Take(fuzz::Joined(pieces));
  for (const fuzz::Piece& piece : pieces) {
    split.Take(piece.bytes);
  }
  Require(whole.Rest() == split.Rest() && whole.Rest() <= LONGEST, "the same rest, at most a minute");
  const std::size_t nWords = WordsUntilClear(whole, nCommands);
  Require(nWords <= nCommands, "at most one answer for each command");
  Require(nWords == WordsUntilClear(split, nCommands), "in pieces as many answers as whole");
  whole.Forget();
  Require(whole.Rest() == 0, "nothing is owed that was forgotten");
}

const fuzz::Target target("OwedAnswers", Check);

}  // namespace
