#include "optics/DetectorData.h"

namespace photometer {

namespace {

constexpr std::size_t TURBIDITY_GROUP_BYTES = 12;
constexpr std::size_t TURBIDITY_SECOND_VALUE = 6;
constexpr double TURBIDITY_GROUPS = 8.0;

}  // namespace

DWORD DecodeValue(std::string_view bytes, std::size_t nOffset) {
  const auto byte = [&](std::size_t n) { return DWORD{static_cast<BYTE>(bytes[nOffset + n])}; };
  return byte(0) << 16U | byte(1) << 8U | byte(2);
}

Reading DecodeReading(std::string_view bytes, std::size_t nOffset) {
  return {static_cast<double>(DecodeValue(bytes, nOffset)),
          static_cast<double>(DecodeValue(bytes, nOffset + VALUE_BYTES))};
}

Reading AverageReading(std::string_view bytes) {
  Reading sum;
  for (std::size_t nOffset = 0; nOffset < bytes.size(); nOffset += READING_BYTES) {
    const Reading reading = DecodeReading(bytes, nOffset);
    sum.dSample += reading.dSample;
    sum.dReference += reading.dReference;
  }
  const auto dCount = static_cast<double>(bytes.size() / READING_BYTES);
  return {sum.dSample / dCount, sum.dReference / dCount};
}

double DecodeTurbidity(std::string_view bytes) {
  DWORD dwTotal = 0;
  for (std::size_t nOffset = 0; nOffset < bytes.size(); nOffset += TURBIDITY_GROUP_BYTES) {
    dwTotal += DecodeValue(bytes, nOffset + TURBIDITY_SECOND_VALUE) - DecodeValue(bytes, nOffset);
  }
  return static_cast<double>(dwTotal) / TURBIDITY_GROUPS;
}

}  // namespace photometer
