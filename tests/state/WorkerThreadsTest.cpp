#include <memory>

#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "state/WorkerThreads.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

/// The threads of a device; expects a clean world at its end.
struct Bench {
  ~Bench() { world.ExpectClean(); }

  World world;
  DeviceState state;
  std::unique_ptr<WorkerThreads> pThreads = std::make_unique<WorkerThreads>(state);
};

/// Waits fail, as long as it lives.
struct FailingWaits final : CallHook {
  FailingWaits() : pBefore(SetCallHook(this)) {}
  ~FailingWaits() override { SetCallHook(pBefore); }
  bool Fails(LayerCall call, const CallSite&) override { return call == LayerCall::WaitForMultipleObjects; }

  CallHook* pBefore;
};

TEST(WorkerThreads, GivesBackTheHandlesOfThreadsThatEnded) {
  Bench bench;
  for (int i = 0; i < 100; ++i) {
    EXPECT_TRUE(bench.pThreads->Start("short", [] {}));
    Sleep(1);
    EXPECT_LE(bench.world.board.Leftovers().size(), 1U);
  }
  EXPECT_TRUE(bench.pThreads->WaitUntilEnded(0));
}

TEST(WorkerThreads, WaitsForAllTogetherNoLongerThanItIsToldAndKeepsTheOwnerMeanwhile) {
  Bench bench;
  auto pOwner = std::make_shared<int>(1);
  const std::weak_ptr<int> pWatched = pOwner;
  bench.pThreads->SetOwner(pOwner);
  {
    const FailingWaits waits;
    for (const DWORD dwMilliseconds : {700U, 5000U, 900U}) {
      EXPECT_TRUE(bench.pThreads->Start("sleeper", [dwMilliseconds] { Sleep(dwMilliseconds); }));
    }
    EXPECT_FALSE(bench.pThreads->WaitUntilEnded(5000)) << "a failed wait is no end";
  }
  pOwner.reset();
  EXPECT_FALSE(bench.pThreads->WaitUntilEnded(1000));
  EXPECT_EQ(bench.world.board.Now() / 1000, 1000U);
  EXPECT_FALSE(pWatched.expired());
  EXPECT_TRUE(bench.pThreads->WaitUntilEnded(10'000));
  EXPECT_EQ(bench.world.board.Now() / 1000, 5000U);
  EXPECT_TRUE(pWatched.expired());
}

TEST(WorkerThreads, DoesNotWaitForTheCallingThread) {
  Bench bench;
  BOOL bEnded = FALSE;
  EXPECT_TRUE(bench.pThreads->Start("self", [&] { bEnded = bench.pThreads->WaitUntilEnded(1000); }));
  EXPECT_TRUE(bench.world.WaitForThreads());
  EXPECT_TRUE(bEnded);
  bench.pThreads.reset();
}

}  // namespace
}  // namespace photometer::tests
