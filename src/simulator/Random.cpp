#include "simulator/Random.h"

#include <bit>
#include <cmath>
#include <cstddef>

namespace simulator {

namespace {

// Rational approximations of the inverse normal distribution (Wichura, algorithm AS 241, seven figures).
double Centre(double q) {
  const double r = 0.180625 - q * q;
  return q * (((59.109374720 * r + 159.29113202) * r + 50.434271938) * r + 3.3871327179) /
         (((67.187563600 * r + 78.757757664) * r + 17.895169469) * r + 1.0);
}

double NearTail(double r) {
  return (((0.17023821103 * r + 1.3067284816) * r + 2.7568153900) * r + 1.4234372777) /
         ((0.12021132975 * r + 0.73700164250) * r + 1.0);
}

double FarTail(double r) {
  return (((0.017337203997 * r + 0.42868294337) * r + 3.0812263860) * r + 6.6579051150) /
         ((0.012258202635 * r + 0.24197894225) * r + 1.0);
}

double InverseNormal(double p) {
  const double q = p - 0.5;
  if (std::fabs(q) <= 0.425) return Centre(q);
  const double r = std::sqrt(-std::log(q < 0.0 ? p : 1.0 - p));
  const double tail = r <= 5.0 ? NearTail(r - 1.6) : FarTail(r - 5.0);
  return q < 0.0 ? -tail : tail;
}

}  // namespace

std::uint64_t Mix(std::uint64_t value) {
  value += 0x9E3779B97F4A7C15ULL;
  value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9ULL;
  value = (value ^ (value >> 27)) * 0x94D049BB133111EBULL;
  return value ^ (value >> 31);
}

Random::Random(std::uint64_t seed) : m_State{} {
  for (std::size_t i = 0; i < m_State.size(); ++i) m_State[i] = Mix(seed + i * 0x9E3779B97F4A7C15ULL);
}

std::uint64_t Random::Next() {
  const std::uint64_t result = std::rotl(m_State[1] * 5, 7) * 9;
  const std::uint64_t shifted = m_State[1] << 17;
  m_State[2] ^= m_State[0];
  m_State[3] ^= m_State[1];
  m_State[1] ^= m_State[2];
  m_State[0] ^= m_State[3];
  m_State[2] ^= shifted;
  m_State[3] = std::rotl(m_State[3], 45);
  return result;
}

double Random::Uniform() { return (static_cast<double>(Next() >> 12) + 0.5) * 0x1p-52; }

double Random::Normal() { return InverseNormal(Uniform()); }

}  // namespace simulator
