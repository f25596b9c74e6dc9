#include <memory>

#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "state/WorkerThreads.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

TEST(WorkerThreads, GivesBackTheHandlesOfThreadsThatEnded) {
  World world;
  DeviceState state;
  WorkerThreads threads(state);
  for (int i = 0; i < 100; ++i) {
    EXPECT_TRUE(threads.Start("short", [] {}));
    Sleep(1);
    EXPECT_LE(world.board.Leftovers().size(), 1U);
  }
  EXPECT_TRUE(threads.WaitUntilEnded(0));
  world.ExpectClean();
}

TEST(WorkerThreads, WaitsForAllTogetherNoLongerThanItIsTold) {
  World world;
  DeviceState state;
  {
    WorkerThreads threads(state);
    for (const DWORD dwMilliseconds : {700U, 900U, 5000U}) {
      EXPECT_TRUE(threads.Start("sleeper", [dwMilliseconds] { Sleep(dwMilliseconds); }));
    }
    EXPECT_FALSE(threads.WaitUntilEnded(1000));
    EXPECT_EQ(world.board.Now() / 1000, 1000U);
    EXPECT_TRUE(threads.WaitUntilEnded(10'000));
    EXPECT_EQ(world.board.Now() / 1000, 5000U);
  }
  world.ExpectClean();
}

TEST(WorkerThreads, DoesNotWaitForTheCallingThread) {
  World world;
  DeviceState state;
  {
    WorkerThreads threads(state);
    BOOL bEnded = FALSE;
    EXPECT_TRUE(threads.Start("self", [&] { bEnded = threads.WaitUntilEnded(1000); }));
    EXPECT_TRUE(world.WaitForThreads());
    EXPECT_TRUE(bEnded);
  }
  world.ExpectClean();
}

TEST(WorkerThreads, ThreadThatCannotBeCreated) {
  World world;
  DeviceState state;
  WorkerThreads threads(state);
  world.kernel.threads.Start(1);
  DWORD dwThreadId = 0;
  EXPECT_FALSE(threads.Start(
      "none", [] { FAIL(); }, &dwThreadId));
  EXPECT_EQ(dwThreadId, 0U);
  EXPECT_TRUE(threads.Start(
      "one", [] {}, &dwThreadId));
  EXPECT_NE(dwThreadId, 0U);
  EXPECT_TRUE(threads.WaitUntilEnded(1000));
}

TEST(WorkerThreads, ThreadKeepsTheOwnerAlive) {
  World world;
  DeviceState state;
  struct Owner {
    explicit Owner(DeviceState& deviceState) : threads(deviceState) {}
    WorkerThreads threads;
  };
  auto pOwner = std::make_shared<Owner>(state);
  const std::weak_ptr<Owner> pWatched = pOwner;
  pOwner->threads.SetOwner(pOwner);
  EXPECT_TRUE(pOwner->threads.Start("keeper", [] { Sleep(1000); }));
  pOwner.reset();
  EXPECT_FALSE(pWatched.expired());
  EXPECT_TRUE(world.WaitForThreads());
  EXPECT_TRUE(pWatched.expired());
  world.ExpectClean();
}

}  // namespace
}  // namespace photometer::tests
