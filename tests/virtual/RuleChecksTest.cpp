// Each rule of the board is broken here on purpose, and the report demanded. What is legal must stay without one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OnVirtualBoard.h"
#include "platform/Sanitizers.h"

namespace virtualtest {
namespace {

using testing::AllOf;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct FlatPins final : simulator::PinSource {
  std::uint32_t ReadPin(simulator::Time /*now*/, std::uint32_t /*pin*/) override { return 1; }
};

/// A board with everything plugged in, and three locks.
struct World : OnVirtualBoard {
  World() {
    board.PlugPort(u"COM2:", device);
    board.PlugPins(&pins);
  }
  /// A thread of that name, to its end.
  void RunToEnd(const char* name, const std::function<void()>& body) {
    Run(name, body);
    Join();
  }
  ScriptedDevice device;
  FlatPins pins;
  Lock state{"m_csState"};
  Lock other{"m_csOther"};
  Lock sink{"m_csSink"};
};

void With(
    Lock& lock, const std::function<void()>& body = [] {}) {
  lock.Enter();
  body();
  lock.Leave();
}

/// COM2: is open for the body.
void WithPort(const std::function<void(HANDLE)>& body) {
  const HANDLE hPort = CreateFileW(u"COM2:");
  const COMMTIMEOUTS timeouts{1, 1, 1, 1, 1};
  SetCommTimeouts(hPort, &timeouts);
  body(hPort);
  CloseHandle(hPort);
}

void WithKey(const std::function<void(HANDLE)>& body) {
  HANDLE hKey = 0;
  RegOpenKeyExW(u"\\Veltranometrik", &hKey);
  body(hKey);
  RegCloseKey(hKey);
}

struct Deed {
  const char* name;
  std::function<void(World&)> act;
  /// Regular expressions for the reports, in their order.
  std::vector<std::string> reports;
};

void TakeBoth(World& world, const char* thread, Lock& first, Lock& second) {
  world.RunToEnd(thread, [&] { With(first, [&] { With(second); }); });
}

const std::vector<Deed> Deeds = {
    {"two orders of locks",
     [](World& world) {
       TakeBoth(world, "First", world.state, world.other);
       TakeBoth(world, "Second", world.other, world.state);
     },
     {"order of locks: thread \"Second\" takes m_csState and holds m_csOther.*\"First\" took m_csOther"}},
    {"three locks in a circle",
     [](World& world) {
       TakeBoth(world, "First", world.state, world.other);
       TakeBoth(world, "Second", world.other, world.sink);
       TakeBoth(world, "Third", world.sink, world.state);
     },
     {"\"Third\" takes m_csState and holds m_csSink.*\"First\" took m_csOther.*\"Second\" took m_csSink"}},
    {"waits with a lock, one of them again and again",
     [](World& world) {
       With(world.state, [] { WaitForSingleObject(0, 1); });
       for (int i = 0; i < 3; ++i) {
         With(world.sink, [&] { With(world.other, [] { Sleep(5); }); });
       }
       WithPort([&](HANDLE hPort) {
         char cByte = 0;
         DWORD dwCount = 0;
         With(world.state, [&] { ReadFile(hPort, &cByte, 1, &dwCount); });
         With(world.state, [&] { WriteFile(hPort, "x", 1, &dwCount); });
       });
     },
     {"wait with a lock held: thread \"main\" calls WaitForMultipleObjects and holds m_csState, at 0.000 ms",
      "wait with a lock held: thread \"main\" calls Sleep and holds m_csOther",
      "wait with a lock held: thread \"main\" calls ReadFile and holds m_csState",
      "wait with a lock held: thread \"main\" calls WriteFile and holds m_csState"}},
    {"storage written with the state lock",
     [](World& world) {
       With(world.state, [] { AppendFileW(u"\\SDMemory\\List.csv", "x"); });
       WithKey([&](HANDLE hKey) { With(world.state, [hKey] { RegSetValueExW(hKey, u"UVLamp", 1); }); });
     },
     {"storage written with the state lock held: thread \"main\" writes .SDMemory.List.csv",
      "storage written with the state lock held: thread \"main\" writes .*UVLamp"}},
    {"lock left by another thread",
     [](World& world) {
       With(world.state, [&] {
         world.Run("Stranger", [&] { world.state.Leave(); });
         Sleep(0);
       });
     },
     {"lock left by another thread: \"Stranger\" leaves m_csState, owner \"main\""}},
    {"lock owned at the end",
     [](World& world) { world.RunToEnd("Forgetful", [&] { world.other.Enter(); }); },
     {"lock owned at a thread's end: thread \"Forgetful\" holds m_csOther"}},
    {"handle of a thread set",
     [](World& /*world*/) {
       const HANDLE hThread = CreateThread([] {}, "Short", nullptr);
       EXPECT_FALSE(SetEvent(hThread));
       WaitForSingleObject(hThread, INFINITE);
       CloseHandle(hThread);
     },
     {"use of a foreign handle: thread \"main\" calls EventModify"}},
    {"use of closed handles",
     [](World& world) {
       const HANDLE hEvent = CreateEventW(FALSE, FALSE, nullptr);
       world.RunToEnd("Closer", [hEvent] { CloseHandle(hEvent); });
       EXPECT_EQ(WaitForSingleObject(hEvent, 10), WAIT_FAILED);
       const HANDLE hGpio = GpioOpenHandle();
       GpioCloseHandle(hGpio);
       EXPECT_EQ(GpioGetInput(hGpio, 3, 10), UnreadablePin);
       HANDLE hClosed = 0;
       WithPort([&](HANDLE hPort) { hClosed = hPort; });
       EXPECT_FALSE(PurgeComm(hClosed, 0));
       WithKey([&](HANDLE hKey) { hClosed = hKey; });
       EXPECT_NE(RegSetValueExW(hClosed, u"HalLamp", 1), ERROR_SUCCESS);
     },
     {"use of a closed handle: thread \"main\" calls WaitForMultipleObjects with event 1, closed by \"Closer\"",
      "GpioGetInput with pins", "PurgeComm with port COM2:", "RegSetValueExW with registry key .Veltranometrik"}},
    {"handle closed during a wait",
     [](World& world) {
       const HANDLE hEvent = CreateEventW(FALSE, FALSE, nullptr);
       world.Run("Waiter", [hEvent] { EXPECT_EQ(WaitForSingleObject(hEvent, INFINITE), WAIT_FAILED); });
       Sleep(1);
       CloseHandle(hEvent);
     },
     {"handle closed during a wait: thread \"main\" closes event 1.*\"Waiter\".*waits for event 1"}},
    {"spin",
     [](World& world) {
       world.RunToEnd("Spinner", [] {
         const DWORD dwStart = GetTickCount();
         while (GetTickCount() == dwStart) {
         }
       });
     },
     {"thread spins: \"Spinner\" has called the layer"}},
};

TEST(RuleChecksTest, EachRuleThatIsBrokenIsReported) {
  for (const Deed& deed : Deeds) {
    SCOPED_TRACE(deed.name);
    World world;
    deed.act(world);
    world.Join();
    std::vector<testing::Matcher<std::string>> reports;
    for (const std::string& report : deed.reports) {
      reports.emplace_back(testing::ContainsRegex(report));
    }
    EXPECT_THAT(world.board.Reports(), testing::ElementsAreArray(reports));
    EXPECT_THAT(world.board.Leftovers(), IsEmpty());
  }
}

TEST(RuleChecksTest, WhatIsLegalStaysWithoutAReport) {
  World world;
  With(world.sink, [] { Sleep(5); });
  With(world.state, [] { WaitForSingleObject(0, 0); });
  With(world.state, [&] { With(world.state); });
  With(world.other, [] { EXPECT_TRUE(AppendFileW(u"\\SDMemory\\List.csv", "x")); });
  for (int i = 0; i < 2; ++i) {
    With(world.state, [&] { With(world.sink); });
  }
  const HANDLE hEvent = CreateEventW(TRUE, FALSE, nullptr);
  const HANDLE hGpio = GpioOpenHandle();
  With(world.state, [&] {
    world.Run("Started", [hEvent] { WaitForSingleObject(hEvent, INFINITE); });
    SetEvent(hEvent);
    EXPECT_EQ(GpioGetInput(hGpio, 3, 10), 1U);
  });
  world.Join();
  GpioCloseHandle(hGpio);
  CloseHandle(hEvent);
  EXPECT_FALSE(SetEvent(0));
  EXPECT_FALSE(CloseHandle(INVALID_HANDLE_VALUE));
  WithPort([&](HANDLE hPort) {
    world.board.UnplugPort(u"COM2:");
    EXPECT_FALSE(PurgeComm(hPort, 0));
  });
  EXPECT_THAT(world.board.Reports(), IsEmpty());
  EXPECT_THAT(world.board.Leftovers(), IsEmpty());
}

TEST(RuleChecksTest, ALockThatGoesWhileItIsOwnedIsReportedAndItsWaiterLetGo) {
  if (ThreadSanitizerRuns) {
    GTEST_SKIP() << "the thread sanitizer sees this fault, too, and ends the program";
  }
  OnVirtualBoard world;
  auto pLock = std::make_unique<Lock>("m_csGone");
  pLock->Enter();
  world.Run("Waiter", [&] { pLock->Enter(); });
  Sleep(0);
  pLock.reset();
  world.Join();
  EXPECT_THAT(world.board.Reports(), ElementsAre(HasSubstr("lock destroyed while owned: m_csGone, owner \"main\"")));
}

TEST(RuleChecksTest, LeftoversAreNamed) {
  World world;
  const HANDLE hStop = CreateEventW(TRUE, FALSE, u"Stop");
  const HANDLE hThread = CreateThread([hStop] { WaitForSingleObject(hStop, INFINITE); }, "Sleeper", nullptr);
  const HANDLE hPort = CreateFileW(u"COM2:");
  Sleep(1);
  EXPECT_THAT(world.board.Leftovers(),
              ElementsAre("event 1 \"Stop\", handle open", "thread 2 \"Sleeper\", handle open",
                          AllOf(HasSubstr("thread 2 \"Sleeper\", alive"), HasSubstr("waits for event 1")),
                          "port COM2:, handle open"));
  SetEvent(hStop);
  WaitForSingleObject(hThread, INFINITE);
  for (const HANDLE handle : {hStop, hThread, hPort}) {
    CloseHandle(handle);
  }
  EXPECT_THAT(world.board.Leftovers(), IsEmpty());
}

// ---- deadlocks ----

TEST(DeadlockTest, NamesEachThreadWithWhatItWaitsForAndHoldsAndLetsWaitsFail) {
  World world;
  std::vector<std::string> told;
  world.board.OnDeadlock([&told](const std::string& report) { told.push_back(report); });
  const HANDLE hNever = CreateEventW(FALSE, FALSE, nullptr);
  world.Run("Holder", [&] {
    With(world.sink, [&] { EXPECT_EQ(WaitForSingleObject(hNever, INFINITE), WAIT_FAILED); });
    EXPECT_EQ(WaitForSingleObject(hNever, INFINITE), WAIT_FAILED);
  });
  Sleep(1);
  world.sink.Enter();
  world.Join();
  CloseHandle(hNever);
  EXPECT_THAT(told,
              ElementsAre(AllOf(HasSubstr("deadlock: no thread can run"),
                                HasSubstr("\"main\" waits for lock m_csSink (owner \"Holder\")"),
                                HasSubstr("\"Holder\" waits for event 1, in WaitForMultipleObjects; holds m_csSink"))));
}

TEST(DeadlockTest, CrossedLocksAreFoundThoughAnotherThreadKeepsTimeGoing) {
  World world;
  bool bFound = false;
  world.board.OnDeadlock([&bFound](const std::string& /*report*/) { bFound = true; });
  world.Run("Poller", [&] {
    while (!bFound) {
      Sleep(10);
    }
  });
  const auto crossed = [&world](const char* name, Lock& first, Lock& second) {
    world.Run(name, [&first, &second] {
      With(first, [&second] {
        Sleep(1);
        With(second);
      });
    });
  };
  crossed("First", world.state, world.other);
  crossed("Second", world.other, world.state);
  world.Join();
  EXPECT_TRUE(bFound);
  EXPECT_THAT(world.board.Reports(),
              Contains(AllOf(HasSubstr("threads wait for each other's locks"),
                             HasSubstr("\"First\" waits for lock m_csOther (owner \"Second\")"),
                             HasSubstr("\"Second\" waits for lock m_csState (owner \"First\")"))));
}

TEST(DeadlockTest, DISABLED_WithoutHandler) {
  OnVirtualBoard world;
  WaitForSingleObject(CreateEventW(FALSE, FALSE, nullptr), INFINITE);
}

TEST(DeadlockTest, DISABLED_SpinForEver) {
  OnVirtualBoard world;
  for (;;) {
    GetTickCount();
  }
}

TEST(DeadlockTest, WithoutAHandlerTheProcessEndsWithTheReport) {
  for (const auto& [test, report] : {std::pair{"*DISABLED_WithoutHandler", "deadlock: no thread can run"},
                                     std::pair{"*DISABLED_SpinForEver", "thread spins: \"main\""}}) {
    const ChildResult child = RunInChild(test);
    EXPECT_EQ(child.nExitCode, 3) << child.output;
    EXPECT_THAT(child.output, HasSubstr(report));
  }
}

}  // namespace
}  // namespace virtualtest
