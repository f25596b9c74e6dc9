/// Numbers as the optical unit sends them: 24 bits, most significant byte first.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

namespace simulator {

void Append24Bits(std::string& bytes, std::uint32_t dwValue);
/// The number in the three bytes from `nFirst` on.
std::uint32_t Read24Bits(std::string_view bytes, std::size_t nFirst);

}  // namespace simulator
