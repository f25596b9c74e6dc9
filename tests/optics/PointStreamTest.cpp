#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "optics/PointStream.h"
#include "support/Optics.h"

namespace photometer::tests {
namespace {

using Verdict = PointStream::Verdict;

constexpr DWORD POINTS = 40;

DWORD SampleOf(DWORD n) { return 0xFF0000 + n; }
DWORD ReferenceOf(DWORD n) { return n * 0x10101; }

/// So many points that differ, and the bytes behind the last one.
std::string Stream(DWORD dwPoints, const std::string& strEnd) {
  std::string bytes;
  for (DWORD n = 0; n < dwPoints; ++n) {
    bytes += Bytes24(SampleOf(n)) + Bytes24(ReferenceOf(n));
  }
  return bytes + strEnd;
}

void ExpectPoints(const std::vector<Reading>& points, DWORD dwCount) {
  ASSERT_EQ(points.size(), dwCount);
  for (DWORD n = 0; n < dwCount; ++n) {
    ASSERT_EQ(points[n].dSample, SampleOf(n)) << n;
    ASSERT_EQ(points[n].dReference, ReferenceOf(n)) << n;
  }
}

/// Gives the bytes in pieces of `nPiece`, up to the first verdict that is an end, or to the end of the bytes.
Verdict Feed(PointStream& stream, std::string_view bytes, std::size_t nPiece, std::vector<Reading>* pPoints) {
  Verdict verdict = Verdict::Going;
  for (std::size_t n = 0; n < bytes.size() && (verdict == Verdict::Going || verdict == Verdict::Complete);
       n += nPiece) {
    verdict = stream.Take(bytes.substr(n, nPiece), pPoints);
  }
  return verdict;
}

TEST(PointStream, PiecesOfAllSizes) {
  const std::string bytes = Stream(POINTS, "ok\r");
  for (std::size_t nPiece = 1; nPiece <= bytes.size(); ++nPiece) {
    SCOPED_TRACE(nPiece);
    PointStream stream(POINTS);
    std::vector<Reading> points;
    for (std::size_t n = 0; n < bytes.size(); n += nPiece) {
      const auto dwWhole = static_cast<DWORD>(std::min<std::size_t>((n + nPiece) / READING_BYTES, POINTS));
      const Verdict verdict = stream.Take(std::string_view(bytes).substr(n, nPiece), &points);
      EXPECT_EQ(verdict, dwWhole == POINTS ? Verdict::Complete : Verdict::Going);
      ExpectPoints(points, dwWhole);
    }
    EXPECT_EQ(stream.MissingEndBytes(), 0U);
  }
}

TEST(PointStream, BytesBehindTheLastPoint) {
  PointStream stream(2);
  std::vector<Reading> points;
  EXPECT_EQ(stream.Take(Stream(2, ""), &points), Verdict::Complete);
  for (const char byte : std::string("ok")) {
    EXPECT_EQ(stream.Take({&byte, 1}, &points), Verdict::Complete);
    EXPECT_NE(stream.MissingEndBytes(), 0U);
  }
  EXPECT_EQ(stream.Take("\r", &points), Verdict::Complete);
  EXPECT_EQ(stream.MissingEndBytes(), 0U);
  EXPECT_EQ(stream.Take("\n", &points), Verdict::Complete) << "not yet a point";
  EXPECT_EQ(points.size(), 2U);
}

TEST(PointStream, ErrorAndTooMuchHoweverTheyAreSplit) {
  const struct {
    const char* what;
    std::string bytes;
    Verdict verdict;
  } cases[] = {
      {"error at once", "error\r\n", Verdict::Error},
      {"error behind points", Stream(5, "error\r\n"), Verdict::Error},
      {"error in the middle of a point", Stream(5, "\x01\x02\x03") + "error\r\n", Verdict::Error},
      {"error behind the last point", Stream(POINTS, "error\r\n"), Verdict::Error},
      {"too much", Stream(POINTS + 1, "ok\r"), Verdict::TooMuch},
  };
  for (const auto& c : cases) {
    for (std::size_t nPiece = 1; nPiece <= c.bytes.size(); ++nPiece) {
      SCOPED_TRACE(std::string(c.what) + " in pieces of " + std::to_string(nPiece));
      PointStream stream(POINTS);
      std::vector<Reading> points;
      EXPECT_EQ(Feed(stream, c.bytes, nPiece, &points), c.verdict);
      if (c.verdict == Verdict::TooMuch) {
        // Of the block that is too much, no point is given.
        ExpectPoints(points, stream.Received());
        EXPECT_GT(stream.WaitingBytes() / READING_BYTES, POINTS - stream.Received());
      }
    }
  }
}

}  // namespace
}  // namespace photometer::tests
