// Time, switching, replay: what makes a run on the virtual board believable.
#include <atomic>
#include <chrono>
#include <set>
#include <stdexcept>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OnVirtualBoard.h"
#include "platform/Sanitizers.h"
#include "platform/virtual/RandomStream.h"
#include "support/World.h"

namespace virtualtest {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// ---- time ----

TEST(VirtualTimeTest, CalendarTimeRunsOverTheEndOfALeapFebruary) {
  VirtualBoardOptions options;
  options.startTime = {2028, 2, 0, 28, 23, 59, 59, 900};
  OnVirtualBoard world(options);
  Sleep(24 * 3600 * 1000 + 150);
  EXPECT_EQ(world.board.Now(), 86'400'150'000U);
  SYSTEMTIME time{};
  GetLocalTime(&time);
  EXPECT_THAT((std::vector<WORD>{time.wYear, time.wMonth, time.wDayOfWeek, time.wDay, time.wHour, time.wMinute,
                                 time.wSecond, time.wMilliseconds}),
              ElementsAre(2028, 3, 3, 1, 0, 0, 0, 50));
}

TEST(VirtualTimeTest, AWaitMayEndLateButNeverEarly) {
  bool bLate = false;
  for (std::uint64_t seed = 1; seed <= 50; ++seed) {
    OnVirtualBoard world(Seeded(seed));
    Sleep(10);
    EXPECT_GE(world.board.Now(), 10'000U);
    EXPECT_LT(world.board.Now(), 14'000U);
    bLate = bLate || world.board.Now() > 10'000;
  }
  EXPECT_TRUE(bLate);
}

TEST(VirtualTimeTest, APacedBoardTakesItsShareOfRealTime) {
  VirtualBoardOptions options;
  options.pace = 10;
  OnVirtualBoard world(options);
  const auto start = std::chrono::steady_clock::now();
  Sleep(300);
  EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(29));
}

// ---- threads ----

TEST(VirtualThreadsTest, ExceptionsInFlightStayWithTheirThread) {
  for (const VirtualBoardOptions& options : {VirtualBoardOptions{}, Seeded(3), Seeded(4)}) {
    OnVirtualBoard world(options);
    const auto throwAndCatch = [](const std::string& name) {
      struct SleepsInDestructor {
        ~SleepsInDestructor() {
          Sleep(5);
          EXPECT_EQ(std::uncaught_exceptions(), 1);
        }
      };
      try {
        const SleepsInDestructor sleeper;
        throw std::runtime_error(name);
      } catch (const std::exception&) {
        Sleep(5);
        EXPECT_EQ(std::uncaught_exceptions(), 0);
        try {
          throw;
        } catch (const std::exception& again) {
          EXPECT_EQ(again.what(), name);
        }
      }
    };
    world.Run("First", [&] { throwAndCatch("A"); });
    world.Run("Second", [&] { throwAndCatch("B"); });
    Sleep(7);
    EXPECT_EQ(std::current_exception(), nullptr);
    world.Join();
  }
}

TEST(VirtualThreadsTest, AHundredThreadsComeAndGoAndLeaveNothing) {
  for (const VirtualBoardOptions& options : EveryPolicy(1)) {
    OnVirtualBoard world(options);
    int nEnded = 0;
    Lock lock("m_csCount");
    for (DWORD i = 0; i < 100; ++i) {
      world.Run("Short", [&, i] {
        Sleep(i % 7);
        // To the thread sanitizer errno is one variable for all simulated threads.
        if (!ThreadSanitizerRuns) {
          errno = static_cast<int>(i);
          Sleep(1 + i % 3);
          EXPECT_EQ(errno, static_cast<int>(i));
        }
        lock.Enter();
        ++nEnded;
        lock.Leave();
      });
    }
    world.Join();
    EXPECT_EQ(nEnded, 100);
    EXPECT_THAT(world.board.Leftovers(), IsEmpty());
    EXPECT_THAT(world.board.Reports(), IsEmpty());
  }
}

// A waiter whose time is up, but who has not run since, must not swallow the signal of an auto-reset event.
TEST(VirtualThreadsTest, NoSignalIsLostToAWaitThatHasTimedOut) {
  for (std::uint64_t seed = 1; seed <= 200; ++seed) {
    OnVirtualBoard world(Seeded(seed));
    const HANDLE hEvent = CreateEventW(FALSE, FALSE, nullptr);
    DWORD dwFirst = WAIT_FAILED;
    world.Run("Waiter", [&] { dwFirst = WaitForSingleObject(hEvent, 10); });
    Sleep(10);
    SetEvent(hEvent);
    world.Join();
    const DWORD dwThen = WaitForSingleObject(hEvent, 0);
    EXPECT_NE(dwFirst == WAIT_OBJECT_0, dwThen == WAIT_OBJECT_0) << "seed " << seed;
    CloseHandle(hEvent);
  }
}

TEST(VirtualThreadsTest, ABodyRunsAtTheScheduledPointBeforeTheCallGoesOn) {
  for (std::uint64_t nPoint = 1; nPoint <= 5; ++nPoint) {
    OnVirtualBoard world;
    // Nothing orders the two threads.
    std::atomic<std::uint64_t> nPointsThen{0};
    std::atomic<DWORD> dwCallsDone{0};
    std::atomic<DWORD> dwCallsThen{99};
    world.board.RunAtPoint(nPoint, "Injected", [&] {
      nPointsThen = world.board.Points();
      dwCallsThen = dwCallsDone.load();
    });
    for (int i = 0; i < 5; ++i) {
      GetTickCount();
      ++dwCallsDone;
    }
    EXPECT_EQ(nPointsThen, nPoint);
    EXPECT_EQ(dwCallsThen, nPoint - 1);
    Sleep(1);
    EXPECT_THAT(world.board.Leftovers(), IsEmpty());
  }
}

// ---- replay ----

struct RunHashes {
  std::uint64_t nDecisions;
  std::uint64_t nTranscript;
  bool operator==(const RunHashes&) const = default;
};

/// The library's threads with all that they do on the board, from the beginning of a start-up to a shutdown amid it.
RunHashes BusyRun(const VirtualBoardOptions& options, DecisionList* pDecisions = nullptr, bool bTraced = true) {
  tests::World world({options, {}});
  if (!bTraced) {
    world.StopTracing();
  }
  tests::Device device(world);
  EXPECT_EQ(device.Initialize(), S_OK);
  Sleep(3000);
  device.Close();
  EXPECT_THAT(world.board.Reports(), IsEmpty());
  if (pDecisions != nullptr) {
    *pDecisions = world.board.Decisions();
  }
  return {world.board.Hash(), world.transcript.Hash()};
}

TEST(ReplayTest, TheSameSeedGivesTheSameRunAndAnotherSeedAnother) {
  std::set<std::uint64_t> decisions;
  std::set<std::uint64_t> transcripts;
  for (std::uint64_t seed = 1; seed <= 10; ++seed) {
    const RunHashes run = BusyRun(Seeded(seed));
    EXPECT_EQ(run, BusyRun(Seeded(seed)));
    EXPECT_EQ(run.nDecisions, BusyRun(Seeded(seed), nullptr, false).nDecisions) << "tracing changes nothing";
    decisions.insert(run.nDecisions);
    transcripts.insert(run.nTranscript);
  }
  EXPECT_EQ(decisions.size(), 10U);
  EXPECT_GT(transcripts.size(), 7U);
}

// Deadlines and block sizes are in the list as well: the replay draws nothing.
TEST(ReplayTest, ARunsOwnDecisionsGiveTheSameRun) {
  for (std::uint64_t seed = 1; seed <= 5; ++seed) {
    for (VirtualBoardOptions options : EveryPolicy(seed)) {
      options.bRecordDecisions = true;
      DecisionList decisions;
      const RunHashes run = BusyRun(options, &decisions);
      VirtualBoardOptions replay;
      replay.pPolicy = std::make_shared<ReplayPolicy>(ParseDecisions(ToText(decisions)).value());
      EXPECT_EQ(BusyRun(replay), run) << "seed " << seed;
      options.bRecordDecisions = false;
      options = options.pPolicy == nullptr ? options : replay;
      EXPECT_EQ(BusyRun(options), run) << "recording changes nothing, seed " << seed;
    }
  }
}

// The same numbers in every build, on every machine: a seed in a report must stay good.
TEST(ReplayTest, StreamsOfASeedAreIndependentAndFixed) {
  EXPECT_EQ(RandomStream(1, RandomUse::Scheduling).Next(), 15204172177749531820U);
  EXPECT_EQ(RandomStream(1, RandomUse::Blocks).Next(), 11886474078194648222U);
}

}  // namespace
}  // namespace virtualtest
