/// Bytes without end: a device that babbles.
#pragma once

#include <cstdint>
#include <string>

#include "simulator/SerialDevice.h"

namespace simulator {

class ByteFlood {
 public:
  /// From `from` until `until` the pattern is repeated at a rate in bytes per second; 11520 is what a line at
  /// 115200 baud can carry, and nothing keeps a faster one from being asked for. The pattern is not empty.
  void Start(Time from, Time until, std::uint64_t bytesPerSecond, std::string strPattern);
  void Stop() { m_bOn = false; }
  [[nodiscard]] Time NextByte() const;
  std::string Take(Time now);

 private:
  bool m_bOn = false;
  Time m_From = 0;
  Time m_Until = 0;
  std::uint64_t m_BytesPerSecond = 0;
  std::uint64_t m_nTaken = 0;
  std::string m_strPattern;
};

}  // namespace simulator
