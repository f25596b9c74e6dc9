#include <array>
#include <atomic>
#include <utility>

#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "state/DeviceState.h"
#include "state/ReceiveBuffer.h"
#include "state/WorkerThreads.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

std::array<HANDLE, 5> Events(const DeviceState& state) {
  return {state.StopEvent(), state.CancelEvent(), state.PumpCancelEvent(), state.SipperLostEvent(),
          state.WarmUpDoneEvent()};
}

TEST(DeviceState, EventsAreMadeSignalledByAStopAndGivenBack) {
  World world;
  DeviceState state;
  state.RaiseStop();  // before there are any: harmless
  state.ClearStop();
  EXPECT_TRUE(state.CreateEvents());
  for (const HANDLE hEvent : Events(state)) {
    EXPECT_EQ(WaitForSingleObject(hEvent, 0), WAIT_TIMEOUT);
  }
  state.RaiseStop();
  state.Reset(&DeviceState::CancelEvent);  // left alone while the device stops
  for (const HANDLE hEvent : Events(state)) {
    EXPECT_EQ(WaitForSingleObject(hEvent, 0), WAIT_OBJECT_0);
    EXPECT_EQ(WaitForSingleObject(hEvent, 0), WAIT_OBJECT_0);  // manual reset
  }
  state.CloseEvents();
  EXPECT_EQ(Events(state), (std::array<HANDLE, 5>{}));
  world.ExpectClean();
}

/// Events of the device, and of a buffer, are closed at each point of their use.
TEST(DeviceState, NoEventIsClosedWhileItIsUsed) {
  for (const bool bBuffer : {false, true}) {
    std::atomic<bool> bInside{true};
    for (std::uint64_t nPoint = 1; bInside; ++nPoint) {
      SCOPED_TRACE(nPoint);
      World world;
      DeviceState state;
      ReceiveBuffer buffer(state);
      EXPECT_TRUE(state.CreateEvents() && buffer.CreateDataEvent());
      std::atomic<bool> bBack{false};
      world.board.RunAtPoint(world.board.Points() + nPoint, "bringing down", [&] {
        bInside = !bBack;
        bBuffer ? buffer.CloseDataEvent() : state.CloseEvents();
      });
      state.Signal(&DeviceState::SipperLostEvent);
      state.Reset(&DeviceState::SipperLostEvent);
      buffer.Signal();
      buffer.Clear();
      state.RaiseStop();
      bBack = true;
      Sleep(10);
      state.CloseEvents();
      buffer.CloseDataEvent();
      world.ExpectClean();
      ASSERT_FALSE(testing::Test::HasFailure());
    }
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
  WorkerThreads threads(state);
  EXPECT_TRUE(threads.Start("stop", [&] { Sleep(300), state.RaiseStop(); }));
  EXPECT_EQ(pause(), std::pair(false, std::uint64_t{300}));
  EXPECT_EQ(pause(), std::pair(false, std::uint64_t{0}));
  EXPECT_TRUE(threads.WaitUntilEnded(1000));
  state.CloseEvents();
  world.ExpectClean();
}

}  // namespace
}  // namespace photometer::tests
