// Input: the bytes of a pump's line, in pieces.
// Checks: the frames are those that the whole text has by their definition, however it was split; a written frame is
// read back; the reader stays within its bounds; a banner is taken whole, with what precedes it, or not at all.
#include "pumps/FrameReader.h"

#include "support/DeviceBench.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using photometer::FrameReader;
using Texts = std::vector<std::string>;

void CheckFrames(const std::vector<fuzz::Piece>& pieces) {
  FrameReader reader;
  Texts frames;
  std::size_t nTold = 0;
  for (const fuzz::Piece& piece : pieces) {
    nTold += reader.Append(piece.bytes) ? 1 : 0;
    while (const auto frame = reader.ExtractFrame()) {
      frames.push_back(*frame);
    }
  }
  Require(reader.TakeAll().size() <= FrameReader::CAPACITY, "bounded");
  Require(nTold <= 1, "a loss is told once");
  const std::string all = fuzz::Joined(pieces);
  if (all.size() <= FrameReader::CAPACITY) {
    Require(nTold == 0 && frames == fuzz::FramesOf(all), "the frames of the whole text");
  }
}

void CheckWritten(const std::string& text) {
  if (text.find(photometer::ETX) == std::string::npos) {
    std::string line = "noise" + photometer::Framed(text) + "rest";
    Require(photometer::ExtractFrame(&line) == text && line == "rest", "a written frame is read back");
  }
}

void CheckBanner(const std::vector<fuzz::Piece>& pieces) {
  constexpr std::string_view IDENTITY = "ZQ";
  FrameReader reader;
  std::string all;
  for (const fuzz::Piece& piece : pieces) {
    if (all.size() + piece.bytes.size() > FrameReader::CAPACITY) {
      return;
    }
    all += piece.bytes;
    reader.Append(piece.bytes);
    std::string text = "none";
    const FrameReader::Banner banner = reader.TakeBanner(IDENTITY, 2, 6, &text);
    const std::size_t nIdentity = all.find(IDENTITY);
    const std::size_t nEnd = nIdentity == std::string::npos ? nIdentity : nIdentity + 10;
    if (nIdentity == std::string::npos) {
      Require(banner == FrameReader::Banner::None, "no banner without its identity");
    } else if (all.size() < nEnd) {
      Require(banner == FrameReader::Banner::Incomplete && text == "none", "half a banner is left");
    } else {
      Require(banner == FrameReader::Banner::Taken && text == all.substr(nEnd - 6, 6), "the banner's text");
      return Require(reader.TakeAll() == all.substr(nEnd), "what follows the banner is left");
    }
  }
}

void Check(std::string_view input) {
  const std::vector<fuzz::Piece> pieces = fuzz::TakePieces(input);
  CheckFrames(pieces);
  CheckWritten(fuzz::Joined(pieces));
  CheckBanner(pieces);
}

const fuzz::Target target("FrameReader", Check);

}  // namespace
