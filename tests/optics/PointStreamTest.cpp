#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "optics/PointStream.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

// What the points of a stream are, however it is split, the corpus of the fuzz target shows.

using Verdict = PointStream::Verdict;

constexpr DWORD POINTS = 40;

TEST(PointStream, ErrorAndTooMuchHoweverTheyAreSplit) {
  const std::string points = Readings(5, 9, POINTS);
  const struct {
    std::string bytes;
    Verdict verdict;
  } cases[] = {
      {points.substr(0, 33) + "error\r\n", Verdict::Error},
      {points + "error\r\n", Verdict::Error},
      {points + Readings(5, 9, 1) + "ok\r", Verdict::TooMuch},
  };
  for (const auto& c : cases) {
    for (std::size_t nPiece = 1; nPiece <= c.bytes.size(); ++nPiece) {
      SCOPED_TRACE(std::to_string(c.bytes.size()) + " bytes in pieces of " + std::to_string(nPiece));
      PointStream stream(POINTS);
      std::vector<Reading> taken;
      Verdict verdict = Verdict::Going;
      for (std::size_t n = 0; n < c.bytes.size() && verdict != c.verdict; n += nPiece) {
        verdict = stream.Take(std::string_view(c.bytes).substr(n, nPiece), &taken);
      }
      EXPECT_EQ(verdict, c.verdict);
      EXPECT_LE(taken.size(), POINTS) << "of the block that is too much, no point is given";
    }
  }
}

}  // namespace
}  // namespace photometer::tests
