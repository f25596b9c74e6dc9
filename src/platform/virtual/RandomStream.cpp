#include "platform/virtual/RandomStream.h"

namespace photometer::platform {

namespace {

constexpr std::uint64_t Step = 0x9E3779B97F4A7C15U;

std::uint64_t Mix(std::uint64_t value) {
  value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
  value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
  return value ^ (value >> 31U);
}

}  // namespace

RandomStream::RandomStream(std::uint64_t seed, RandomUse use)
    : m_nState(Mix(seed + Step) ^ Mix(static_cast<std::uint64_t>(use) * Step)) {}

std::uint64_t RandomStream::Next() {
  m_nState += Step;
  return Mix(m_nState);
}

// The high half of the product: the bias of at most nCount / 2^32 is of no matter here.
std::uint64_t RandomStream::Below(std::uint64_t nCount) { return ((Next() >> 32U) * nCount) >> 32U; }

}  // namespace photometer::platform
