#include "simulator/WireNumber.h"

namespace simulator {

void Append24Bits(std::string& bytes, std::uint32_t dwValue) {
  for (const unsigned nShift : {16U, 8U, 0U}) bytes += static_cast<char>((dwValue >> nShift) & 0xFFU);
}

std::uint32_t Read24Bits(std::string_view bytes, std::size_t nFirst) {
  std::uint32_t dwValue = 0;
  for (const char byte : bytes.substr(nFirst, 3)) dwValue = dwValue << 8U | static_cast<unsigned char>(byte);
  return dwValue;
}

}  // namespace simulator
