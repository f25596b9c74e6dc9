/// The lamp and motor state cache: the last value that each optical command set successfully, −1 for unknown. A command
/// that asks for the cached value is not sent.
#pragma once

#include <array>
#include <cstddef>

#include "photometer/Types.h"

namespace photometer {

/// In the order in which the device keeps them.
enum class CacheEntry : std::size_t {
  HalogenLamp,
  UVLamp,
  Mirror,
  Filter,
  Gain,
  ADSpeed,
  MonochromatorSpeed,
  MeasurementLength,
  MonochromatorPosition,
  Shutter,
  OptoPower,
  Fan,
  TurbidityPower,
  TurbidityGain,
  None
};

inline constexpr std::size_t CACHE_ENTRIES = static_cast<std::size_t>(CacheEntry::None);
inline constexpr LONG UNKNOWN = -1;

/// Guarded by the state lock, as a member of `GuardedState`.
class StateCache {
 public:
  StateCache() { ForgetAll(); }

  LONG& operator[](CacheEntry entry) { return m_Values[static_cast<std::size_t>(entry)]; }
  LONG operator[](CacheEntry entry) const { return m_Values[static_cast<std::size_t>(entry)]; }

  void ForgetAll() { m_Values.fill(UNKNOWN); }
  /// Forgets what the error reaction may have changed: all but the monochromator's position and the turbidity channel.
  void ForgetAfterError();

 private:
  std::array<LONG, CACHE_ENTRIES> m_Values{};
};

}  // namespace photometer
