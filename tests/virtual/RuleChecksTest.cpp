// Each rule of the board is broken here on purpose, and the report demanded. What is legal must stay without one.
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include "OnVirtualBoard.h"
#include "ScriptedDevice.h"
#include "platform/Sanitizers.h"

namespace virtualtest {
namespace {

using testing::AllOf;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

struct FlatPins final : simulator::PinSource {
  std::uint32_t ReadPin(simulator::Time /*now*/, std::uint32_t /*pin*/) override { return 1; }
};

/// A board with everything plugged in, and two locks.
struct World : OnVirtualBoard {
  World() {
    board.PlugPort(u"COM2:", device);
    board.PlugPins(&pins);
  }
  ScriptedDevice device;
  FlatPins pins;
  Lock state{"m_csState"};
  Lock other{"m_csOther"};
  Lock sink{"m_csSink"};
};

/// Does both in threads of their own, one after the other.
void InTurn(World& world, const char* first, const std::function<void()>& firstBody, const char* second,
            const std::function<void()>& secondBody) {
  world.Run(first, firstBody);
  world.Join();
  world.Run(second, secondBody);
  world.Join();
}

void With(Lock& lock, const std::function<void()>& body) {
  lock.Enter();
  body();
  lock.Leave();
}

struct Deed {
  const char* name;
  std::function<void(World&)> act;
  /// Parts of the one report; none: it is legal.
  std::vector<std::string> report;
};

void PrintTo(const Deed& deed, std::ostream* pStream) { *pStream << deed.name; }

void ReadWithLock(World& world) {
  const HANDLE hPort = CreateFileW(u"COM2:");
  const COMMTIMEOUTS timeouts{1, 1, 1, 1, 1};
  SetCommTimeouts(hPort, &timeouts);
  With(world.state, [&] {
    char cByte = 0;
    DWORD dwRead = 0;
    ReadFile(hPort, &cByte, 1, &dwRead);
  });
  CloseHandle(hPort);
}

void WriteWithLock(World& world) {
  const HANDLE hPort = CreateFileW(u"COM2:");
  With(world.state, [&] {
    DWORD dwWritten = 0;
    WriteFile(hPort, "x", 1, &dwWritten);
  });
  CloseHandle(hPort);
}

void UseClosedPort(World& /*world*/) {
  const HANDLE hPort = CreateFileW(u"COM2:");
  CloseHandle(hPort);
  DCB state{};
  EXPECT_FALSE(GetCommState(hPort, &state));
}

void UseClosedPins(World& /*world*/) {
  const HANDLE hGpio = GpioOpenHandle();
  GpioCloseHandle(hGpio);
  EXPECT_GT(GpioGetInput(hGpio, 3, 10), 1U);
}

void UseClosedKey(World& /*world*/) {
  HANDLE hKey = 0;
  RegOpenKeyExW(u"\\Veltranometrik", &hKey);
  RegCloseKey(hKey);
  EXPECT_NE(RegSetValueExW(hKey, u"HalLamp", 1), ERROR_SUCCESS);
}

void UseClosedEvent(World& world) {
  const HANDLE hEvent = CreateEventW(FALSE, FALSE, nullptr);
  world.Run("Closer", [&] { CloseHandle(hEvent); });
  world.Join();
  EXPECT_EQ(WaitForSingleObject(hEvent, 10), WAIT_FAILED);
}

void CloseDuringWait(World& world) {
  const HANDLE hEvent = CreateEventW(FALSE, FALSE, nullptr);
  world.Run("Waiter", [&] { EXPECT_EQ(WaitForSingleObject(hEvent, INFINITE), WAIT_FAILED); });
  Sleep(1);
  CloseHandle(hEvent);
}

void SetForeignHandle(World& world) {
  DWORD dwId = 0;
  const HANDLE hThread = CreateThread([] {}, "Short", &dwId);
  EXPECT_FALSE(SetEvent(hThread));
  WaitForSingleObject(hThread, INFINITE);
  CloseHandle(hThread);
  static_cast<void>(world);
}

void LeaveFromOtherThread(World& world) {
  With(world.state, [&] {
    world.Run("Stranger", [&] { world.state.Leave(); });
    WaitForSingleObject(0, 0);
    Sleep(0);
  });
}

void EndWithLock(World& world) {
  Lock lock("m_csForgotten");
  world.Run("Forgetful", [&] { lock.Enter(); });
  world.Join();
}

void ThreeLocksInACircle(World& world) {
  const auto nested = [](Lock& outer, Lock& inner) { With(outer, [&] { With(inner, [] {}); }); };
  InTurn(
      world, "First", [&] { nested(world.state, world.other); }, "Second", [&] { nested(world.other, world.sink); });
  world.Run("Third", [&] { nested(world.sink, world.state); });
  world.Join();
}

void TwoOrders(World& world) {
  InTurn(
      world, "First", [&] { With(world.state, [&] { With(world.other, [] {}); }); },  //
      "Second", [&] { With(world.other, [&] { With(world.state, [] {}); }); });
}

void SetRegistryValueWithLock(World& world) {
  HANDLE hKey = 0;
  RegOpenKeyExW(u"\\Veltranometrik", &hKey);
  With(world.state, [&] { RegSetValueExW(hKey, u"UVLamp", 1); });
  RegCloseKey(hKey);
}

const std::vector<Deed>& Faults() {
  static const std::vector<Deed> faults = {
      {"TwoOrders", TwoOrders, {"order of locks", "\"Second\" takes m_csState and holds m_csOther", "\"First\" took"}},
      {"ThreeLocksInACircle",
       ThreeLocksInACircle,
       {"\"Third\" takes m_csState and holds m_csSink", "\"First\" took m_csOther", "\"Second\" took m_csSink"}},
      {"WaitWithLock",
       [](World& world) { With(world.state, [] { WaitForSingleObject(0, 1); }); },
       {"wait with a lock held", "\"main\" calls WaitForMultipleObjects and holds m_csState"}},
      {"SleepWithLock",
       [](World& world) { With(world.sink, [&] { With(world.other, [] { Sleep(5); }); }); },
       {"\"main\" calls Sleep and holds m_csOther"}},
      {"ReadWithLock", ReadWithLock, {"wait with a lock held", "calls ReadFile and holds m_csState"}},
      {"WriteWithLock", WriteWithLock, {"wait with a lock held", "calls WriteFile and holds m_csState"}},
      {"LeaveFromOtherThread",
       LeaveFromOtherThread,
       {"lock left by another thread", "\"Stranger\" leaves m_csState, owner \"main\""}},
      {"EndWithLock", EndWithLock, {"lock owned at a thread's end", "\"Forgetful\" holds m_csForgotten"}},
      {"UseClosedEvent", UseClosedEvent, {"use of a closed handle", "\"main\"", "closed by \"Closer\""}},
      {"UseClosedPort", UseClosedPort, {"use of a closed handle", "GetCommState with port COM2:"}},
      {"UseClosedPins", UseClosedPins, {"use of a closed handle", "GpioGetInput with pins"}},
      {"UseClosedKey", UseClosedKey, {"use of a closed handle", "RegSetValueExW with registry key \\Veltranometrik"}},
      {"SetForeignHandle", SetForeignHandle, {"use of a foreign handle", "EventModify"}},
      {"CloseDuringWait", CloseDuringWait, {"handle closed during a wait", "\"Waiter\" waits for event"}},
      {"AppendWithStateLock",
       [](World& world) { With(world.state, [] { AppendFileW(u"\\SDMemory\\List.csv", "x"); }); },
       {"storage written with the state lock held", "List.csv"}},
      {"RegistryWithStateLock", SetRegistryValueWithLock, {"storage written with the state lock held", "UVLamp"}},
      {"Spin",
       [](World& world) {
         world.Run("Spinner", [] {
           const DWORD dwStart = GetTickCount();
           while (GetTickCount() == dwStart) {
           }
         });
         world.Join();
       },
       {"thread spins: \"Spinner\"", "GetTickCount"}},
  };
  return faults;
}

const std::vector<Deed>& LegalDeeds() {
  static const std::vector<Deed> deeds = {
      {"SleepUnderHostCode", [](World& world) { With(world.sink, [] { Sleep(5); }); }, {}},
      {"PollWithLock", [](World& world) { With(world.state, [] { WaitForSingleObject(0, 0); }); }, {}},
      {"NestedEnter", [](World& world) { With(world.state, [&] { With(world.state, [] {}); }); }, {}},
      {"SameOrderTwice",
       [](World& world) {
         for (int i = 0; i < 2; ++i) {
           With(world.state, [&] { With(world.sink, [] {}); });
         }
       },
       {}},
      {"StartSetAndReadWithLock",
       [](World& world) {
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
       },
       {}},
      {"AppendUnderOtherLock",
       [](World& world) { With(world.other, [] { EXPECT_TRUE(AppendFileW(u"\\SDMemory\\List.csv", "x")); }); },
       {}},
      {"NeverOpened",
       [](World& /*world*/) {
         EXPECT_FALSE(SetEvent(0));
         EXPECT_FALSE(CloseHandle(INVALID_HANDLE_VALUE));
       },
       {}},
      {"ReadOfAVanishedPort",
       [](World& world) {
         const HANDLE hPort = CreateFileW(u"COM2:");
         world.board.UnplugPort(u"COM2:");
         DWORD dwWritten = 0;
         EXPECT_FALSE(WriteFile(hPort, "x", 1, &dwWritten));
         EXPECT_TRUE(CloseHandle(hPort));
       },
       {}},
  };
  return deeds;
}

class RuleChecks : public testing::TestWithParam<Deed> {};

TEST_P(RuleChecks, AnswersTheDeed) {
  World world;
  GetParam().act(world);
  world.Join();
  const std::vector<std::string> reports = world.board.Reports();
  ASSERT_EQ(reports.size(), GetParam().report.empty() ? 0U : 1U) << testing::PrintToString(reports);
  for (const std::string& part : GetParam().report) {
    EXPECT_THAT(reports[0], HasSubstr(part));
  }
  EXPECT_THAT(world.board.Leftovers(), IsEmpty());
}

std::string DeedName(const testing::TestParamInfo<Deed>& info) { return info.param.name; }
INSTANTIATE_TEST_SUITE_P(Fault, RuleChecks, testing::ValuesIn(Faults()), DeedName);
INSTANTIATE_TEST_SUITE_P(Legal, RuleChecks, testing::ValuesIn(LegalDeeds()), DeedName);

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

TEST(RuleChecksTest, AFaultThatRepeatsIsReportedOnce) {
  World world;
  for (int i = 0; i < 3; ++i) {
    With(world.state, [] { Sleep(1); });
  }
  EXPECT_THAT(world.board.Reports(), ElementsAre(HasSubstr("at 0.000 ms")));
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
  ASSERT_EQ(told.size(), 1U);
  EXPECT_THAT(told[0], AllOf(HasSubstr("deadlock: no thread can run"),
                             HasSubstr("\"main\" waits for lock m_csSink (owner \"Holder\")"),
                             HasSubstr("\"Holder\" waits for event 1, in WaitForMultipleObjects; holds m_csSink")));
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
  const auto crossed = [](Lock& first, Lock& second) {
    first.Enter();
    Sleep(1);
    second.Enter();
    second.Leave();
    first.Leave();
  };
  world.Run("First", [&] { crossed(world.state, world.other); });
  world.Run("Second", [&] { crossed(world.other, world.state); });
  world.Join();
  EXPECT_TRUE(bFound);
  EXPECT_THAT(world.board.Reports(),
              testing::Contains(AllOf(HasSubstr("threads wait for each other's locks"),
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
