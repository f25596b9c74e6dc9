/// Decoding of the optical unit's data answers: plain functions over bytes.
///
/// A detector value is an unsigned 24-bit number, most significant byte first. A reading is six bytes: the sample
/// channel, then the reference channel.
#pragma once

#include <cstddef>
#include <string_view>

#include "photometer/Types.h"

namespace photometer {

inline constexpr std::size_t VALUE_BYTES = 3;
inline constexpr std::size_t READING_BYTES = 2 * VALUE_BYTES;

/// Both channels, counts.
struct Reading {
  double dSample = 0.0;
  double dReference = 0.0;
};

/// The 24-bit value of the three bytes from `nOffset` on, which must be there.
DWORD DecodeValue(std::string_view bytes, std::size_t nOffset);
/// The reading of the six bytes from `nOffset` on, which must be there.
Reading DecodeReading(std::string_view bytes, std::size_t nOffset);
/// The average of the readings that fill `bytes`.
Reading AverageReading(std::string_view bytes);
/// The turbidity of 96 bytes: in each of eight groups of twelve, the value of bytes 6 to 8 minus that of bytes 0 to 2;
/// their sum modulo 2^32, divided by eight.
double DecodeTurbidity(std::string_view bytes);

}  // namespace photometer
