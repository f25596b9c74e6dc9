/// The cuvette holder: three switches that tell by a pattern which cuvette stands in it.
///
/// | size, mm | pins 10, 11, 12 with UV path | without |
/// |---|---|---|
/// | 0 (none) | 0 0 0 | 0 0 0 |
/// | 10 | 0 0 1 | 0 1 0 |
/// | 14 | 0 1 0 | 0 0 1 |
/// | 20 | 0 1 1 | 0 1 1 |
/// | 40 | 1 1 0 | 1 0 1 |
/// | 50 | 1 1 1 | 1 1 1 |
/// | fixation | 1 0 0 | 1 0 0 |
///
/// Changes may be made ahead of their time. Around each change the switches that move chatter for the bounce time.
#pragma once

#include <array>
#include <cstdint>
#include <vector>

#include "simulator/SerialDevice.h"

namespace simulator {

struct CuvetteHolderSettings {
  std::uint64_t seed = 1;
  bool bUV = true;
  /// How long a switch chatters after a change, ms.
  std::uint32_t bounceMilliseconds = 0;
};

class CuvetteHolder final : public PinSource {
 public:
  /// The size that stands for the transport fixation.
  static constexpr int Fixation = -1;
  /// What a pin gives that cannot be read.
  static constexpr std::uint32_t Unreadable = 0xFFFFFFFF;
  static constexpr std::uint32_t FirstPin = 10;
  static constexpr std::size_t PinCount = 3;

  /// Of the cuvettes that it knows, mm.
  [[nodiscard]] static std::vector<int> Sizes();

  explicit CuvetteHolder(CuvetteHolderSettings settings = {}) : m_Settings(settings) {}

  /// A cuvette of one of these sizes, or the fixation; another size leaves the switches open. Replaces later
  /// changes.
  void Insert(int iSize, Time at);
  void Remove(Time at) { Insert(0, at); }
  /// Makes a pin (10 to 12) unreadable, or readable again, at once.
  void SetUnreadable(std::uint32_t dwPin, bool bUnreadable);

  /// The size in the holder, 0 for none.
  [[nodiscard]] int Size(Time now) const;
  /// Pins other than 10 to 12 cannot be read.
  std::uint32_t ReadPin(Time now, std::uint32_t dwPin) override;

 private:
  struct Change {
    Time at;
    int iSize;
  };

  [[nodiscard]] std::uint32_t Level(int iSize, std::size_t nPin) const;
  [[nodiscard]] bool Chatter(Time now, std::size_t nPin) const;

  CuvetteHolderSettings m_Settings;
  std::vector<Change> m_Changes;  // in the order of time
  std::array<bool, PinCount> m_Unreadable = {};
};

}  // namespace simulator
