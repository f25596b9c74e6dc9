// Every run is a race detector in a build with the thread sanitizer: simulated threads are threads to it, and only
// simulated locks, events and thread ends order what they do.
#include <algorithm>
#include <iterator>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OnVirtualBoard.h"
#include "platform/Sanitizers.h"
#include "platform/TracingBoard.h"

namespace virtualtest {
namespace {

/// Two threads write the same variable. What stands between them must not order the writes.
void RaceWith(const std::function<void()>& between, const VirtualBoardOptions& options = {}) {
  OnVirtualBoard world(options);
  int nShared = 0;
  for (const char* name : {"RacerA", "RacerB"}) {
    world.Run(name, [&] {
      ++nShared;
      between();
    });
  }
}

TEST(RaceTest, DISABLED_Plain) {
  RaceWith([] { Sleep(10); });
}

void RaceUnder(std::size_t nPolicy) {
  RaceWith([] { Sleep(10); }, EveryPolicy(1).at(nPolicy));
}

TEST(RaceTest, DISABLED_Random) { RaceUnder(1); }
TEST(RaceTest, DISABLED_Priority) { RaceUnder(2); }
TEST(RaceTest, DISABLED_Exhaustive) { RaceUnder(3); }
TEST(RaceTest, DISABLED_Replay) { RaceUnder(4); }

// Each thread uses another event: no order comes of it.
TEST(RaceTest, DISABLED_OtherEvents) {
  RaceWith([] {
    const HANDLE hEvent = CreateEventW(FALSE, FALSE, nullptr);
    SetEvent(hEvent);
    WaitForSingleObject(hEvent, 10);
    CloseHandle(hEvent);
  });
}

TEST(RaceTest, DISABLED_BehindATrace) {
  OnVirtualBoard world;
  Transcript transcript;
  TracingBoard tracing(world.board, transcript);
  SetBoard(&tracing);
  int nShared = 0;
  for (const char* name : {"RacerA", "RacerB"}) {
    world.Run(name, [&] {
      NKDbgPrintfW("before");
      ++nShared;
      AppendFileW(u"\\SDMemory\\x", "after");
      transcript.Note(0, "sink", "after");
    });
  }
  world.Join();
}

TEST(RaceTest, PlantedRacesAreReported) {
  if (!ThreadSanitizerRuns) {
    GTEST_SKIP() << "only the thread sanitizer sees races";
  }
  for (const std::string name :
       {"Plain", "Random", "Priority", "Exhaustive", "Replay", "OtherEvents", "BehindATrace"}) {
    const std::string test = "*DISABLED_" + name;
    const ChildResult child = RunInChild(test);
    EXPECT_NE(child.nExitCode, 0) << test;
    EXPECT_THAT(child.output, testing::HasSubstr("ThreadSanitizer: data race")) << test;
  }
}

// Each of these orders two accesses; the sanitizer ends the program if one does not.
TEST(RaceTest, LocksEventsAndThreadEndsOrder) {
  std::vector<VirtualBoardOptions> runs;
  for (std::uint64_t seed = 1; seed <= 10; ++seed) {
    std::ranges::copy(EveryPolicy(seed), std::back_inserter(runs));
  }
  for (const VirtualBoardOptions& options : runs) {
    OnVirtualBoard world(options);
    Lock lock("m_csState");
    const HANDLE hEvent = CreateEventW(FALSE, FALSE, nullptr);
    int nLocked = 0;
    int nHandedOver = 1;
    std::string text;
    for (DWORD i = 0; i < 2; ++i) {
      world.Run("Locker", [&, i] {
        for (int n = 0; n < 50; ++n) {
          lock.Enter();
          ++nLocked;
          text = std::string(static_cast<std::size_t>(20 + n), 'x');
          lock.Leave();
          Sleep(i);
        }
      });
    }
    world.Run("Producer", [&] {
      ++nHandedOver;
      SetEvent(hEvent);
    });
    world.Run("Consumer", [&] {
      WaitForSingleObject(hEvent, INFINITE);
      ++nHandedOver;
    });
    world.Join();
    EXPECT_EQ(nLocked, 100);
    EXPECT_EQ(nHandedOver, 3);
    EXPECT_EQ(text.size(), 69U);
    CloseHandle(hEvent);
  }
}

}  // namespace
}  // namespace virtualtest
