#include "support/Pieces.h"

#include <algorithm>
#include <numeric>

namespace fuzz {

namespace {

constexpr std::uint8_t FIRST_LONG = 200;
constexpr simulator::Time PAUSE_UNIT = 100;

struct Step {
  std::size_t nBytes;
  simulator::Time pause;
};

Step TakeStep(std::string_view* pInput) {
  const std::size_t nBytes = TakeByte(pInput);
  const std::uint8_t nPause = TakeByte(pInput);
  return {nBytes, nPause < FIRST_LONG ? nPause * PAUSE_UNIT : LONG_PAUSE};
}

}  // namespace

std::uint8_t TakeByte(std::string_view* pInput) {
  if (pInput->empty()) {
    return 0;
  }
  const auto nByte = static_cast<std::uint8_t>(pInput->front());
  pInput->remove_prefix(1);
  return nByte;
}

std::vector<Piece> TakePieces(std::string_view input) {
  std::vector<Step> steps(TakeByte(&input) % MOST_PIECES);
  std::ranges::generate(steps, [&input] { return TakeStep(&input); });
  std::vector<Piece> pieces;
  std::size_t nLongPauses = 0;
  while (!input.empty()) {
    Step step = steps.empty() ? Step{0, 0} : steps[pieces.size() % steps.size()];
    if (step.pause == LONG_PAUSE && ++nLongPauses > MOST_LONG_PAUSES) {
      step.pause = 0;
    }
    const bool bAll = step.nBytes == 0 || pieces.size() + 1 >= MOST_PIECES;
    pieces.push_back({std::string(input.substr(0, bAll ? input.size() : step.nBytes)), step.pause});
    input.remove_prefix(pieces.back().bytes.size());
  }
  return pieces;
}

std::string Joined(const std::vector<Piece>& pieces) {
  return std::accumulate(pieces.begin(), pieces.end(), std::string(),
                         [](std::string text, const Piece& piece) { return std::move(text) + piece.bytes; });
}

std::string InTime(const std::vector<Piece>& pieces) {
  const auto end = std::ranges::find(pieces, LONG_PAUSE, &Piece::pause);
  return Joined({pieces.begin(), end});
}

bool HasLongPause(const std::vector<Piece>& pieces) {
  return std::ranges::find(pieces, LONG_PAUSE, &Piece::pause) != pieces.end();
}

simulator::Time TotalTime(const std::vector<Piece>& pieces) {
  return std::accumulate(pieces.begin(), pieces.end(), simulator::Time{0},
                         [](simulator::Time sum, const Piece& piece) { return sum + piece.pause; });
}

}  // namespace fuzz
