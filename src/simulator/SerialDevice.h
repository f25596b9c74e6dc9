/// A device at the far end of a serial line, as a model: bytes and a time go in, bytes and a time come out. It knows
/// neither threads nor transport; the virtual board plugs it in directly, the simulator program serves it on a
/// pseudo-terminal.
///
/// Calls come one at a time and with a time that never goes back.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace simulator {

/// Microseconds since the device was switched on.
using Time = std::uint64_t;

/// Later than everything.
inline constexpr Time Never = ~Time{0};

class SerialDevice {
 public:
  virtual ~SerialDevice() = default;

  /// Takes bytes that have arrived at the device.
  virtual void Receive(Time now, std::string_view bytes) = 0;
  /// When the device next has something to do or a byte complete on the line; `Never` when it waits for the host.
  [[nodiscard]] virtual Time NextActivity() const = 0;
  /// The bytes that have become complete on the line up to `now`, each once.
  virtual std::string TakeOutput(Time now) = 0;
};

/// Switches that drive input pins of the board.
class PinSource {
 public:
  virtual ~PinSource() = default;

  /// Level of a pin, 0 or 1; anything else: it cannot be read.
  virtual std::uint32_t ReadPin(Time now, std::uint32_t pin) = 0;
};

}  // namespace simulator
