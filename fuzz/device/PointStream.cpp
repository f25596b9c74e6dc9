// Input: the number of points that are expected (a byte), and the bytes of a scan's stream, in pieces.
// Checks: fed in pieces, the stream says the same as fed whole at each cut, and gives the same points, each once; it
// never gives more than were expected; and it keeps less than a point, but for what it refuses.
#include "optics/PointStream.h"

#include "support/Pieces.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using photometer::PointStream;
using photometer::Reading;
using Verdict = photometer::PointStream::Verdict;

bool IsEnd(Verdict verdict) { return verdict == Verdict::Error || verdict == Verdict::TooMuch; }

void CheckPoints(const std::vector<Reading>& points, const std::string& bytes) {
  for (std::size_t n = 0; n < points.size(); ++n) {
    const auto byte = [&](std::size_t nOffset) { return static_cast<unsigned char>(bytes[n * 6 + nOffset]); };
    Require(points[n].dSample == byte(0) * 65536.0 + byte(1) * 256.0 + byte(2), "sample of a point");
    Require(points[n].dReference == byte(3) * 65536.0 + byte(4) * 256.0 + byte(5), "reference of a point");
  }
}

void CheckAgainstWhole(std::size_t nExpected, const std::string& fed, Verdict verdict, std::size_t nPoints) {
  PointStream whole(static_cast<photometer::DWORD>(nExpected));
  std::vector<Reading> points;
  Require(whole.Take(fed, &points) == verdict, "in pieces as whole");
  // A block that is refused gives none of its points; those of the blocks before it were given.
  Require(IsEnd(verdict) ? points.empty() : points.size() == nPoints, "as many points in pieces as whole");
}

void Check(std::string_view input) {
  const std::size_t nExpected = fuzz::TakeByte(&input);
  PointStream stream(static_cast<photometer::DWORD>(nExpected));
  std::vector<Reading> points;
  std::string fed;
  Verdict verdict = Verdict::Going;
  for (const fuzz::Piece& piece : fuzz::TakePieces(input)) {
    fed += piece.bytes;
    verdict = stream.Take(piece.bytes, &points);
    CheckAgainstWhole(nExpected, fed, verdict, points.size());
    Require(points.size() == stream.Received() && points.size() <= nExpected, "each point once, and no surplus");
    if (IsEnd(verdict)) {
      break;
    }
    Require(stream.WaitingBytes() < photometer::READING_BYTES, "less than a point waits");
    Require((verdict == Verdict::Complete) == (points.size() == nExpected), "complete with the last point");
    const std::size_t nBehind = fed.size() - points.size() * 6;
    Require(verdict != Verdict::Complete || stream.MissingEndBytes() == 3 - std::min<std::size_t>(nBehind, 3),
            "three bytes behind the last point");
  }
  CheckPoints(points, fed);
}

const fuzz::Target target("PointStream", Check);

}  // namespace
