/// A device in a world of its own, and what the tests of its life share.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "support/World.h"

namespace photometer::tests {

using Commands = std::vector<std::string>;

inline const Commands SWITCH_OFF{"$r0", "$d0", "$h0", "$f0", "$ "};
inline constexpr std::uint64_t SECOND = 1'000'000;
inline constexpr std::uint64_t SHUTDOWN_LIMIT = 3 * SECOND;

/// At most so many of the commands, from one on.
inline Commands From(const Commands& commands, std::size_t nFirst, std::size_t nCount = SWITCH_OFF.size()) {
  Commands some;
  for (std::size_t n = nFirst; n < commands.size() && n - nFirst < nCount; ++n) {
    some.push_back(commands[n]);
  }
  return some;
}

inline bool EndsSwitchedOff(const Commands& commands) {
  return commands.size() >= SWITCH_OFF.size() && From(commands, commands.size() - SWITCH_OFF.size()) == SWITCH_OFF;
}

/// Closed, and expected to leave a clean world, at its end.
struct Bench {
  explicit Bench(const WorldOptions& options = {}) : world(options) {}
  ~Bench() {
    device.Close();
    world.ExpectClean();
  }
  Bench(const Bench&) = delete;
  Bench& operator=(const Bench&) = delete;

  HRESULT StartMeasure(const std::vector<double>& wavelengths) {
    const MeasureRequest request = MeasureAt(wavelengths);
    return device->StartMeasure(&request);
  }
  /// Bytes of the host for the optical unit.
  HRESULT Write(std::string_view bytes) {
    return device->WriteOpticalPort(reinterpret_cast<const BYTE*>(bytes.data()), static_cast<DWORD>(bytes.size()));
  }
  /// Runs `bringDown`, which may take as long as a `Shutdown`; no callback may begin from now on.
  template <class Action>
  void Down(Action bringDown) {
    const std::uint64_t nStart = world.board.Now();
    world.sink.ForbidCallbacks();
    bringDown();
    EXPECT_LE(world.board.Now() - nStart, SHUTDOWN_LIMIT);
  }

  World world;
  Device device{world};
};

}  // namespace photometer::tests
