// A planted lost wake-up that first come, first served never shows: what each policy promises to find, and in how many
// runs.
#include <array>
#include <atomic>
#include <cstddef>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "OnVirtualBoard.h"
#include "platform/virtual/ExhaustivePolicy.h"
#include "platform/virtual/PriorityPolicy.h"
#include "platform/virtual/ReplayPolicy.h"

namespace virtualtest {
namespace {

struct Outcome {
  bool bLost = false;
  std::uint64_t nPoints = 0;
  std::uint64_t nHash = 0;
  DecisionList decisions;
};

/// The consumer resets the event after it has looked: depth 2, since its look must come before the producer's word and
/// its reset after it.
Outcome LostWakeUp(const VirtualBoardOptions& options) {
  OnVirtualBoard world(options);
  const HANDLE hEvent = CreateEventW(TRUE, FALSE, nullptr);
  Lock lock("m_csState");
  bool bReady = false;
  Outcome outcome;
  world.board.BeginWindow();
  world.Run("Consumer", [&] {
    lock.Enter();
    const bool bThere = bReady;
    lock.Leave();
    if (!bThere) {
      ResetEvent(hEvent);
      outcome.bLost = WaitForSingleObject(hEvent, 60'000) == WAIT_TIMEOUT;
    }
  });
  world.Run("Producer", [&] {
    GetTickCount();
    lock.Enter();
    bReady = true;
    lock.Leave();
    SetEvent(hEvent);
  });
  world.Join();
  world.board.EndWindow();
  outcome.nPoints = world.board.Points();
  CloseHandle(hEvent);
  outcome.nHash = world.board.Hash();
  return outcome;
}

VirtualBoardOptions With(std::shared_ptr<SchedulingPolicy> pPolicy) {
  VirtualBoardOptions options;
  options.pPolicy = std::move(pPolicy);
  return options;
}

TEST(SchedulingPolicyTest, AThreadThatPollsOrGivesWayLetsTheOthersRun) {
  for (std::uint64_t nRun = 0; nRun < 100; ++nRun) {
    const bool bGivesWay = nRun >= 50;
    OnVirtualBoard world(EveryPolicy(nRun / 5 + 1)[nRun % 5]);
    const HANDLE hEvent = CreateEventW(TRUE, FALSE, nullptr);
    world.Run("Setter", [hEvent] { SetEvent(hEvent); });
    while (WaitForSingleObject(hEvent, 0) != WAIT_OBJECT_0) {
      if (bGivesWay) {
        Sleep(0);
      }
    }
    EXPECT_LT(world.board.Points(), bGivesWay ? 20U : 2'000U) << nRun;
    CloseHandle(hEvent);
  }
}

// ---- hold-ups ----

/// The second of two signals, a millisecond apart, is reset away when the waiting thread comes that late.
Outcome LateReset(VirtualBoardOptions options) {
  options.bRecordDecisions = true;
  OnVirtualBoard world(options);
  const HANDLE hEvent = CreateEventW(FALSE, FALSE, nullptr);
  Outcome outcome;
  world.Run("Consumer", [&] {
    WaitForSingleObject(hEvent, INFINITE);
    ResetEvent(hEvent);
    outcome.bLost = WaitForSingleObject(hEvent, 60'000) == WAIT_TIMEOUT;
  });
  world.Run("Producer", [hEvent] {
    SetEvent(hEvent);
    Sleep(1);
    SetEvent(hEvent);
  });
  world.Join();
  CloseHandle(hEvent);
  outcome.nHash = world.board.Hash();
  outcome.decisions = world.board.Decisions();
  return outcome;
}

TEST(HoldUps, LetTimePassBetweenTwoCallsOfAThread) {
  unsigned nLosses = 0;
  for (std::uint64_t seed = 1; seed <= 500; ++seed) {
    EXPECT_FALSE(LateReset({.seed = seed, .policy = Policy::Random}).bLost);
    const Outcome heldUp = LateReset({.seed = seed, .policy = Policy::Random, .bHoldUps = true});
    nLosses += heldUp.bLost ? 1 : 0;
    EXPECT_EQ(LateReset(With(std::make_shared<ReplayPolicy>(heldUp.decisions))).nHash, heldUp.nHash);
  }
  EXPECT_GT(nLosses, 0U);
}

// ---- priorities ----

/// How many of the seeds from 1 on lose the wake-up.
std::uint64_t Losses(const PriorityOptions& measures, std::uint64_t nSeeds) {
  std::uint64_t nLosses = 0;
  for (std::uint64_t seed = 1; seed <= nSeeds; ++seed) {
    nLosses += LostWakeUp(With(std::make_shared<PriorityPolicy>(seed, measures))).bLost ? 1 : 0;
  }
  return nLosses;
}

TEST(PriorityPolicyTest, FindsAFaultOfItsDepthAtLeastAsOftenAsItPromises) {
  constexpr unsigned Threads = 3;
  const Outcome firstCome = LostWakeUp({});
  EXPECT_FALSE(firstCome.bLost);
  for (const bool bWindowOnly : {false, true}) {
    const PriorityOptions measures{2, firstCome.nPoints, bWindowOnly};
    const std::uint64_t nSeeds = PriorityPolicy::SeedsFor(0.999'999, measures, Threads);
    EXPECT_LT(nSeeds, 1'000U);
    EXPECT_GE(static_cast<double>(Losses(measures, nSeeds)) / static_cast<double>(nSeeds),
              PriorityPolicy::LeastProbability(measures, Threads));
  }
  // One change point less, and no order of priorities shows it.
  EXPECT_EQ(Losses({1, firstCome.nPoints, false}, 200), 0U);
}

TEST(PriorityPolicyTest, TheBoundIsThatOfThePaper) {
  EXPECT_DOUBLE_EQ(PriorityPolicy::LeastProbability({3, 100, false}, 5), 1.0 / (5 * 100.0 * 100.0));
  EXPECT_DOUBLE_EQ(PriorityPolicy::LeastProbability({1, 100, false}, 4), 0.25);
  // 0.99 of the runs miss it, 0.99^459 < 0.01.
  EXPECT_EQ(PriorityPolicy::SeedsFor(0.99, {2, 10, false}, 10), 459U);
  EXPECT_EQ(PriorityPolicy::SeedsFor(0.99, {1, 10, false}, 1), 1U);
}

// ---- every schedule ----

TEST(ExhaustivePolicyTest, FindsAFaultForCertainOnceItsPreemptionsSuffice) {
  for (const unsigned nPreemptions : {0U, 1U, 2U}) {
    const auto pPolicy = std::make_shared<ExhaustivePolicy>(ExhaustiveOptions{nPreemptions});
    std::set<std::uint64_t> hashes;
    std::uint64_t nLosses = 0;
    do {
      const Outcome outcome = LostWakeUp(With(pPolicy));
      nLosses += outcome.bLost ? 1 : 0;
      hashes.insert(outcome.nHash);
    } while (pPolicy->NextSchedule());
    EXPECT_EQ(nLosses > 0, nPreemptions > 0) << nPreemptions;
    EXPECT_FALSE(pPolicy->Diverged());
    // No schedule is run twice.
    EXPECT_EQ(hashes.size(), pPolicy->Schedules());
  }
}

// The main thread makes three calls in the window, the other one two. One pre-emption: before any of the three calls. A
// second one: before any of the other's two, and the first thread is back. By the number of the point the creation of
// the thread counts as the first one.
TEST(ExhaustivePolicyTest, CountsTheSchedulesOfASmallWindow) {
  const std::vector<std::pair<ExhaustiveOptions, std::uint64_t>> cases = {
      {{0}, 1}, {{1}, 4}, {{2}, 10}, {{1, UINT32_MAX, 2}, 3}, {{1, UINT32_MAX, 2, 2}, 3}, {{1, UINT32_MAX, 1, 1}, 1}};
  for (const auto& [options, nSchedules] : cases) {
    const auto pPolicy = std::make_shared<ExhaustivePolicy>(options);
    do {
      OnVirtualBoard world(With(pPolicy));
      world.Run("Other", [] {
        GetTickCount();
        GetTickCount();
      });
      world.board.BeginWindow();
      for (int i = 0; i < 3; ++i) {
        GetTickCount();
      }
      world.board.EndWindow();
    } while (pPolicy->NextSchedule());
    EXPECT_EQ(pPolicy->Schedules(), nSchedules) << options.nMostPreemptions;
  }
}

TEST(ExhaustivePolicyTest, AScenarioThatDoesNotRepeatItselfIsReported) {
  const auto pPolicy = std::make_shared<ExhaustivePolicy>();
  int nRuns = 0;
  do {
    OnVirtualBoard world(With(pPolicy));
    world.board.BeginWindow();
    for (int i = 0; i < 2 + nRuns % 2; ++i) {
      world.Run("Thread", [] {});
    }
  } while (++nRuns < 100 && pPolicy->NextSchedule());
  EXPECT_TRUE(pPolicy->Diverged());
  EXPECT_LT(nRuns, 100);
}

// ---- decisions ----

/// The order in which two threads begin (a, b) and wake (A, B) while the main one is in its third call.
std::string OrderUnder(const char* decisions) {
  std::array<std::atomic<char>, 4> order{};
  std::atomic<std::size_t> nNext{0};
  OnVirtualBoard world(With(std::make_shared<ReplayPolicy>(ParseDecisions(decisions).value())));
  for (const char* marks : {"aA", "bB"}) {
    world.Run(marks, [&order, &nNext, marks] {
      order.at(nNext++) = marks[0];
      Sleep(1);
      order.at(nNext++) = marks[1];
    });
  }
  Sleep(5);
  return {order.begin(), order.end()};
}

TEST(DecisionsTest, AHoldUpThatIsLeftOutLeavesTheOthersTheirPlaces) {
  EXPECT_EQ(OrderUnder("hold 1@3 100\nmeanwhile 1@3 3\nnext 1@3 2\n"), "baAB");
  EXPECT_EQ(OrderUnder("hold 1@3 100\nnext 1@3 3\n"), "abBA");
  EXPECT_EQ(OrderUnder("meanwhile 1@3 3\nnext 1@3 2\n"), "abAB");
}

// That a list is read as it was written, each replay shows.
TEST(DecisionsTest, OtherLinesAreRefused) {
  for (const char* bad : {"x", "switch", "switch 3", "switch 3@", "switch 3@4", "switch 3@4 ", "switch 3@4 5 6",
                          "switch 3@4. 5", "switch -3@4 5", "late 99999999999@1 1", "switch 3@4 5\r\n"}) {
    EXPECT_EQ(ParseDecisions(bad), std::nullopt) << bad;
  }
}

}  // namespace
}  // namespace virtualtest
