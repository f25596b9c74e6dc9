/// Inputs that stand for bytes on a line. The first byte says how many steps follow, a step is two bytes, and the rest
/// is the text: it comes in pieces, for each of which the steps say in turn how long it is (0: all that is left) and
/// how long after the one before it comes.
///
/// A pause is 0 to 199 tenths of a millisecond. The numbers above are all longer than anybody waits for an answer.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "simulator/SerialDevice.h"

namespace fuzz {

struct Piece {
  std::string bytes;
  /// Behind the one before, µs.
  simulator::Time pause;
};

/// Longer than the 60 s after which a device counts as silent, µs.
inline constexpr simulator::Time LONG_PAUSE = 61'000'000;
/// Further ones are no pauses at all: a silent minute takes longer to run than all the rest of an input, and a third
/// one meets nothing that still waits.
inline constexpr std::size_t MOST_LONG_PAUSES = 2;
/// More pieces are joined to the last one: all pauses but the long ones take 1.3 s together.
inline constexpr std::size_t MOST_PIECES = 64;

/// Takes the front byte; 0 when there is none.
std::uint8_t TakeByte(std::string_view* pInput);
std::vector<Piece> TakePieces(std::string_view input);

std::string Joined(const std::vector<Piece>& pieces);
/// What comes before the first long pause.
std::string InTime(const std::vector<Piece>& pieces);
bool HasLongPause(const std::vector<Piece>& pieces);
/// How long it takes until the last one has come, µs.
simulator::Time TotalTime(const std::vector<Piece>& pieces);

}  // namespace fuzz
