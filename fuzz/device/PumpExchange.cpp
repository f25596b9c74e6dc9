// Input: which exchange with a pump (a byte), its pump time (a byte), and what the pump answers, in pieces.
// Checks: results are those of the exchange; it succeeds never without the pump's word, and fails with a fault never
// without the pump's having told it; afterwards the line is free, and the host has heard of a ZQ-420's failure.
#include <algorithm>

#include "support/DeviceBench.h"

namespace {

using fuzz::Require;
using photometer::DWORD;

constexpr std::size_t LONGEST_COLLECTION = 1024;

struct Said {
  std::string all;
  std::vector<std::string> frames;

  [[nodiscard]] bool Has(const char* text) const { return all.find(text) != std::string::npos; }
  [[nodiscard]] bool HasFrame(const char* text) const {
    return std::ranges::any_of(frames,
                               [text](const std::string& frame) { return frame.find(text) != std::string::npos; });
  }
};

void CheckSetPump(DWORD dwResult, const Said& said) {
  Require(dwResult == 0 || dwResult == 532 || dwResult == 533, "a result of the parameter command");
  Require(dwResult != 0 || said.Has("\x02h;"), "acknowledged without the pump's word");
  Require(dwResult != 533 || said.all.size() > LONGEST_COLLECTION, "too long within the limit");
}

void CheckZQ410(DWORD dwResult, const Said& said) {
  Require(dwResult == 0 || dwResult == 512 || dwResult == 513 || dwResult == 514, "a result of the ZQ-410's cycle");
  Require(dwResult != 0 || said.Has("h1;b\x03"), "a cycle without its end");
  Require(dwResult != 514 || said.Has("h3;a\x03"), "a failed cycle that the pump did not tell");
  Require(dwResult != 513 || said.all.size() > LONGEST_COLLECTION, "too long within the limit");
}

void CheckZQ420(fuzz::DeviceBench& bench, DWORD dwResult, const Said& said) {
  switch (dwResult) {
    case 0:
      Require(said.HasFrame("s") && said.HasFrame("e"), "a cycle without start and end");
      break;
    case 612:
      break;
    case 615:
      Require(said.HasFrame(";f;3"), "fault 3 that the pump did not tell");
      break;
    case 616:
      Require(said.HasFrame(";f;5"), "fault 5 that the pump did not tell");
      break;
    case 617:
      Require(said.HasFrame(";f;6"), "fault 6 that the pump did not tell");
      break;
    default:
      Require(false, "a result that the ZQ-420's cycle does not have");
  }
  Require(bench.host.dwPumpError == dwResult, "the host hears of a failure");
  Require(bench.Info().m_bSipperCycleDone != 0, "the cycle is marked as done");
}

void Check(std::string_view input) {
  const std::uint8_t nKind = fuzz::TakeByte(&input) % 3;
  const DWORD dwSeconds = fuzz::TakeByte(&input) % 16;
  const std::vector<fuzz::Piece> pieces = fuzz::TakePieces(input);
  Said said{fuzz::Joined(pieces), {}};
  said.frames = fuzz::FramesOf(said.all);
  fuzz::DeviceBench bench(nKind == 2 ? fuzz::FarEnd::ZQ420 : fuzz::FarEnd::ZQ410);
  bench.state.Lock()->m_Status.bSipperDetected = photometer::TRUE;
  bench.device.Answer(pieces);
  if (nKind == 0) {
    CheckSetPump(bench.pumps.SetPump(dwSeconds, 1), said);
  } else if (nKind == 1) {
    CheckZQ410(bench.pumps.Pump(dwSeconds), said);
  } else {
    CheckZQ420(bench, bench.pumps.Pump(dwSeconds), said);
  }
  Require(!bench.external.Line().IsClaimed() && !bench.sipper.Line().IsClaimed(), "the line is free");
}

const fuzz::Target target("PumpExchange", Check);

}  // namespace
