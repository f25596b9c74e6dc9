#include <functional>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "state/DeviceState.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

TEST(DeviceState, EventsAreMadeAndGivenBack) {
  World world;
  DeviceState state;
  const std::vector<HANDLE (*)(const DeviceState&)> events{[](const DeviceState& s) { return s.StopEvent(); },
                                                           [](const DeviceState& s) { return s.CancelEvent(); },
                                                           [](const DeviceState& s) { return s.PumpCancelEvent(); },
                                                           [](const DeviceState& s) { return s.SipperLostEvent(); },
                                                           [](const DeviceState& s) { return s.WarmUpDoneEvent(); }};
  EXPECT_TRUE(state.CreateEvents());
  for (const auto event : events) {
    EXPECT_EQ(WaitForSingleObject(event(state), 0), WAIT_TIMEOUT);
    SetEvent(event(state));
    EXPECT_EQ(WaitForSingleObject(event(state), 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(event(state), 0), WAIT_OBJECT_0);  // manual reset
  }
  state.CloseEvents();
  for (const auto event : events) {
    EXPECT_EQ(event(state), 0U);
  }
  world.ExpectClean();
}

TEST(DeviceState, FailedEventLeavesThoseBeforeIt) {
  for (int n = 1; n <= 5; ++n) {
    World world;
    DeviceState state;
    world.kernel.events.Start(n);
    EXPECT_FALSE(state.CreateEvents());
    EXPECT_EQ(world.board.Leftovers().size(), static_cast<std::size_t>(n - 1));
    state.CloseEvents();
    world.ExpectClean();
  }
}

TEST(DeviceState, PauseHasItsLengthUnlessTheDeviceStops) {
  World world;
  DeviceState state;
  const auto pause = [&] {
    const std::uint64_t nStart = world.board.Now();
    const bool bWhole = state.Pause(1000) != FALSE;
    return std::pair(bWhole, (world.board.Now() - nStart) / 1000);
  };
  EXPECT_EQ(pause(), std::pair(true, std::uint64_t{1000})) << "without events";
  EXPECT_TRUE(state.CreateEvents());
  EXPECT_EQ(pause(), std::pair(true, std::uint64_t{1000}));
  const HANDLE hThread = CreateThread(
      [&] {
        Sleep(300);
        state.RaiseStop();
      },
      "stop", nullptr);
  EXPECT_EQ(pause(), std::pair(false, std::uint64_t{300}));
  EXPECT_EQ(pause(), std::pair(false, std::uint64_t{0}));
  WaitForSingleObject(hThread, INFINITE);
  CloseHandle(hThread);
  state.CloseEvents();
  world.ExpectClean();
}

TEST(DeviceState, StopSignalsAllEvents) {
  World world;
  DeviceState state;
  state.RaiseStop();  // before there are any: harmless
  state.ClearStop();
  EXPECT_TRUE(state.CreateEvents());
  state.RaiseStop();
  for (const HANDLE hEvent : {state.StopEvent(), state.CancelEvent(), state.PumpCancelEvent(), state.SipperLostEvent(),
                              state.WarmUpDoneEvent()}) {
    EXPECT_EQ(WaitForSingleObject(hEvent, 0), WAIT_OBJECT_0);
  }
}

}  // namespace
}  // namespace photometer::tests
