// Every run is a race detector in a build with the thread sanitizer: simulated threads are threads to it, and only
// simulated locks, events and thread ends order what they do: every other test of that build shows that they do.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OnVirtualBoard.h"
#include "platform/Sanitizers.h"
#include "platform/TracingBoard.h"

namespace virtualtest {
namespace {

/// Two threads write the same variable. What stands around the writes must not order them.
void Race(const VirtualBoardOptions& options, const std::function<void()>& around, bool bTraced = false) {
  Transcript transcript;
  OnVirtualBoard world(options);
  TracingBoard tracing(world.board, transcript);
  if (bTraced) {
    SetBoard(&tracing);
  }
  int nShared = 0;
  for (const char* name : {"RacerA", "RacerB"}) {
    world.Run(name, [&] {
      around();
      ++nShared;
      around();
    });
  }
  world.Join();
}

void RaceUnder(std::size_t nPolicy) {
  Race(EveryPolicy(1).at(nPolicy), [] { Sleep(10); });
}

TEST(RaceTest, DISABLED_FirstCome) { RaceUnder(0); }
TEST(RaceTest, DISABLED_Random) { RaceUnder(1); }
TEST(RaceTest, DISABLED_Priority) { RaceUnder(2); }
TEST(RaceTest, DISABLED_Exhaustive) { RaceUnder(3); }
TEST(RaceTest, DISABLED_Replay) { RaceUnder(4); }

// Each thread uses another event: no order comes of it.
TEST(RaceTest, DISABLED_OtherEvents) {
  Race({}, [] {
    const HANDLE hEvent = CreateEventW(FALSE, FALSE, nullptr);
    SetEvent(hEvent);
    WaitForSingleObject(hEvent, 10);
    CloseHandle(hEvent);
  });
}

TEST(RaceTest, DISABLED_BehindATrace) {
  const auto trace = [] {
    NKDbgPrintfW("text");
    AppendFileW(u"\\SDMemory\\x", "line");
  };
  Race({}, trace, true);
}

TEST(RaceTest, PlantedRacesAreReported) {
  if (!ThreadSanitizerRuns) {
    GTEST_SKIP() << "only the thread sanitizer sees races";
  }
  for (const std::string name :
       {"FirstCome", "Random", "Priority", "Exhaustive", "Replay", "OtherEvents", "BehindATrace"}) {
    const ChildResult child = RunInChild("RaceTest.DISABLED_" + name);
    EXPECT_NE(child.nExitCode, 0) << name;
    EXPECT_THAT(child.output, testing::HasSubstr("ThreadSanitizer: data race")) << name;
  }
}

}  // namespace
}  // namespace virtualtest
