// Input: what the pump ZQ-410 says by itself, in pieces.
// Checks: the host hears of each key, the pump gets an answer for each keep-alive, and version and acknowledgement are
// kept, as the frames of the whole text say, however it was split. With a banner in it: its version, or that of a
// frame.
#include "support/DeviceBench.h"

namespace {

using fuzz::Require;

constexpr std::string_view IDENTITY = "VELTRANOMETRIK ZQ-410";
constexpr std::string_view VERSION = "v;ZQ410;";

/// What the frames of a text come to.
struct Meaning {
  int iKeepAlives = 0;
  int iKeyA = 0;
  int iKeyB = 0;
  bool bAcknowledged = false;
  std::string version;

  void Take(const std::string& frame) {
    const auto has = [&frame](std::string_view text) { return frame.find(text) != std::string::npos; };
    if (frame == "y;a") {
      ++iKeepAlives;
    } else if (has("h;")) {
      bAcknowledged = true;
    } else if (has("h1;a")) {
      ++iKeyA;
    } else if (has("h1;b")) {
      ++iKeyB;
    } else if (has(VERSION)) {
      const std::string digits = frame.substr(frame.find(VERSION) + VERSION.size()).substr(0, 5);
      version = digits.size() < 5 ? version : "V" + digits.substr(0, 2) + "." + digits.substr(3);
    }
  }
};

int Count(std::string_view text, std::string_view part) {
  int iCount = 0;
  for (std::size_t n = text.find(part); n != std::string_view::npos; n = text.find(part, n + 1)) {
    ++iCount;
  }
  return iCount;
}

void Check(std::string_view input) {
  std::vector<fuzz::Piece> pieces = fuzz::TakePieces(input.substr(0, photometer::FrameReader::CAPACITY));
  const std::string all = fuzz::Joined(pieces);
  Meaning meaning;
  for (const std::string& frame : fuzz::FramesOf(all)) {
    meaning.Take(frame);
  }
  fuzz::DeviceBench bench(fuzz::FarEnd::ZQ410);
  bench.Hear(pieces);
  const photometer::PumpInfo info = bench.Info();
  const int iAnswers = Count(bench.device.Heard(), "\x02Y;a\x03");
  Require(bench.Detected() == (iAnswers > 0) && bench.host.iConnected == (iAnswers > 0 ? 1 : 0),
          "detected, once, with the first keep-alive");
  if (const int iBanners = Count(all, IDENTITY); iBanners > 0) {
    // A banner swallows what precedes it in the same block, and with the start of a frame sets free the next one in it.
    Require(iAnswers <= meaning.iKeepAlives + iBanners && info.m_strPumpVersion.size() <= 6, "no more than was said");
    return;
  }
  Require(iAnswers == meaning.iKeepAlives, "an answer for each keep-alive");
  Require(bench.host.iKeyA == meaning.iKeyA && bench.host.iKeyB == meaning.iKeyB, "each key is told once");
  Require((info.m_bPumpCycleReported != 0) == (meaning.iKeyB > 0), "key B reports a cycle");
  Require((info.m_bPumpParamsAcknowledged != 0) == meaning.bAcknowledged, "the acknowledgement is kept");
  fuzz::RequireEqual(info.m_strPumpVersion, meaning.version, "the last version counts");
}

const fuzz::Target target("DialectZQ410", Check);

}  // namespace
