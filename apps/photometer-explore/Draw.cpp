#include "Draw.h"

#include <bit>

namespace explorer {

namespace {

constexpr char CommandStart = '$';

}  // namespace

Draw::Draw(std::uint64_t seed, Subject subject)
    : m_nState(seed * 0x9E3779B97F4A7C15U + static_cast<std::uint64_t>(subject) * 0xD1B54A32D192ED03U) {}

std::uint64_t Draw::Next() {
  m_nState += 0x9E3779B97F4A7C15U;
  std::uint64_t n = m_nState;
  n = (n ^ (n >> 30U)) * 0xBF58476D1CE4E5B9U;
  n = (n ^ (n >> 27U)) * 0x94D049BB133111EBU;
  return n ^ (n >> 31U);
}

std::int64_t Draw::Between(std::int64_t iFirst, std::int64_t iLast) {
  return iFirst + static_cast<std::int64_t>(Below(static_cast<std::uint64_t>(iLast - iFirst) + 1));
}

std::uint64_t Draw::Length(std::uint64_t nLongest) {
  const std::uint64_t nMagnitude = Below(static_cast<std::uint64_t>(std::bit_width(nLongest)) + 1);
  const std::uint64_t nLimit = std::uint64_t{1} << nMagnitude;
  const std::uint64_t nLength = Below(nLimit);
  return nLength > nLongest ? nLongest : nLength;
}

std::string Draw::Bytes(std::uint64_t nLongest) {
  std::string bytes;
  for (std::uint64_t n = 1 + Below(nLongest); n > 0; --n) {
    const char byte = static_cast<char>(Below(256));
    bytes += byte == CommandStart ? '#' : byte;
  }
  return bytes;
}

}  // namespace explorer
