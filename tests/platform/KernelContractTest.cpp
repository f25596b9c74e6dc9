#include <array>
#include <atomic>
#include <vector>

#include "BoardContract.h"

namespace contract {
namespace {

enum class Reset { Automatic, Manual };

class KernelContract : public BoardContract {
 protected:
  HANDLE NewEvent(Reset reset = Reset::Automatic, const char16_t* name = nullptr) {
    return Keep(CreateEventW(reset == Reset::Manual ? TRUE : FALSE, FALSE, name));
  }
};

TEST_P(KernelContract, TheFirstSignalledHandleInTheArraysOrderWins) {
  const std::array handles{Keep(CreateEventW(FALSE, TRUE, nullptr)), NewEvent(), NewEvent(Reset::Manual)};
  EventModify(handles[2], EVENT_SET);
  SetEvent(handles[1]);
  for (const DWORD dwExpected : {0U, 1U, 2U, 2U}) {
    EXPECT_EQ(WaitForMultipleObjects(3, handles.data(), 0), dwExpected);
  }
  EventModify(handles[2], EVENT_RESET);
  EXPECT_EQ(WaitForMultipleObjects(3, handles.data(), 0), WAIT_TIMEOUT);
}

TEST_P(KernelContract, AnAutoResetEventWakesOneWaiterForEachSignalAManualOneAll) {
  const HANDLE hGo = NewEvent();
  const HANDLE hAll = NewEvent(Reset::Manual);
  const HANDLE hDone = NewEvent();
  std::atomic<int> nWoken = 0;
  const auto body = [&] {
    EXPECT_EQ(WaitForSingleObject(hGo, OneMinute), WAIT_OBJECT_0);
    ++nWoken;
    SetEvent(hDone);
    EXPECT_EQ(WaitForSingleObject(hAll, OneMinute), WAIT_OBJECT_0);
  };
  {
    const Thread first(body);
    const Thread second(body);
    const Thread third(body);
    for (int nSignals = 1; nSignals <= 3; ++nSignals) {
      Sleep(AWhile);
      EXPECT_EQ(nWoken, nSignals - 1);
      SetEvent(hGo);
      EXPECT_EQ(WaitForSingleObject(hDone, OneMinute), WAIT_OBJECT_0);
    }
    Sleep(AWhile);
    SetEvent(hAll);
  }
  EXPECT_EQ(WaitForSingleObject(hAll, 0), WAIT_OBJECT_0);
}

TEST_P(KernelContract, NoSignalIsLostBetweenSignalsAndTimeOuts) {
  constexpr int nRounds = 300;
  const std::array handles{NewEvent(Reset::Manual), NewEvent()};
  const HANDLE hTaken = NewEvent();
  std::atomic<int> nTaken = 0;
  const auto consume = [&] {
    for (;;) {
      const DWORD dwResult = WaitForMultipleObjects(2, handles.data(), 1);
      if (dwResult == WAIT_OBJECT_0) return;
      if (dwResult == WAIT_TIMEOUT) continue;
      ++nTaken;
      SetEvent(hTaken);
    }
  };
  {
    const Thread first(consume);
    const Thread second(consume);
    for (int nRound = 0; nRound < nRounds; ++nRound) {
      SetEvent(handles[1]);
      ASSERT_EQ(WaitForSingleObject(hTaken, OneMinute), WAIT_OBJECT_0) << nRound;
      // Every tenth signal comes about when the consumers' time is up.
      if (nRound % 10 == 0) Sleep(1);
    }
    SetEvent(handles[0]);
  }
  EXPECT_EQ(nTaken, nRounds);
}

TEST_P(KernelContract, WaitsAndSleepsNeverEndEarly) {
  const HANDLE hEvent = NewEvent();
  for (const DWORD dwMilliseconds : {1U, 7U, 30U}) {
    const DWORD dwTick = GetTickCount();
    const std::uint64_t nStart = Microseconds();
    EXPECT_EQ(WaitForSingleObject(hEvent, dwMilliseconds), WAIT_TIMEOUT);
    EXPECT_GE(Microseconds() - nStart, dwMilliseconds * 1'000U);
    Sleep(dwMilliseconds);
    EXPECT_GE(Microseconds() - nStart, dwMilliseconds * 2'000U);
    EXPECT_GE(GetTickCount() - dwTick, dwMilliseconds * 2);
  }
}

TEST_P(KernelContract, ClosingAHandleEndsTheWaitsThatNameIt) {
  const std::array handles{NewEvent(), NewEvent()};
  {
    const Thread waiter([&] { EXPECT_EQ(WaitForMultipleObjects(2, handles.data(), INFINITE), WAIT_FAILED); });
    Sleep(AWhile);
    EXPECT_TRUE(CloseHandle(handles[1]));
  }
  EXPECT_TRUE(CloseHandle(handles[0]));
}

TEST_P(KernelContract, AWaitThatNamesAnInvalidHandleFailsAtOnceAndTakesNothing) {
  const HANDLE hEvent = Keep(CreateEventW(FALSE, TRUE, nullptr));
  const HANDLE hClosed = NewEvent();
  EXPECT_TRUE(CloseHandle(hClosed));
  const HANDLE hPort = CreateFileW(u"COM2:");
  for (const HANDLE hInvalid : {HANDLE{0}, INVALID_HANDLE_VALUE, hClosed, hPort}) {
    const std::array handles{hEvent, hInvalid};
    EXPECT_EQ(WaitForMultipleObjects(2, handles.data(), INFINITE), WAIT_FAILED) << hInvalid;
    EXPECT_FALSE(SetEvent(hInvalid)) << hInvalid;
  }
  const std::vector<HANDLE> tooMany(MAXIMUM_WAIT_OBJECTS + 1, hEvent);
  EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS + 1, tooMany.data(), INFINITE), WAIT_FAILED);
  EXPECT_EQ(WaitForMultipleObjects(0, tooMany.data(), INFINITE), WAIT_FAILED);
  EXPECT_EQ(WaitForMultipleObjects(MAXIMUM_WAIT_OBJECTS, tooMany.data(), INFINITE), WAIT_OBJECT_0);
  EXPECT_FALSE(CloseHandle(hClosed));
  EXPECT_TRUE(CloseHandle(hPort));
  EXPECT_TRUE(CloseHandle(hEvent));
}

TEST_P(KernelContract, AThreadsHandleIsSignalledWhenItHasEndedAndLetGoOfWhatItHeld) {
  const HANDLE hGo = NewEvent();
  auto pHeld = std::make_shared<int>(0);
  DWORD dwThreadId = 0;
  const HANDLE hThread = CreateThread(
      [hGo, pHeld] {
        WaitForSingleObject(hGo, OneMinute);
        *pHeld = static_cast<int>(GetCurrentThreadId());
      },
      "TestProc", &dwThreadId);
  EXPECT_EQ(WaitForSingleObject(hThread, 0), WAIT_TIMEOUT);
  EXPECT_FALSE(SetEvent(hThread));
  SetEvent(hGo);
  EXPECT_EQ(WaitForSingleObject(hThread, OneMinute), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(hThread, 0), WAIT_OBJECT_0);
  EXPECT_EQ(pHeld.use_count(), 1);
  EXPECT_EQ(*pHeld, static_cast<int>(dwThreadId));
  EXPECT_NE(dwThreadId, GetCurrentThreadId());
  EXPECT_TRUE(CloseHandle(hThread));
}

TEST_P(KernelContract, AThreadRunsOnWhenItsHandleIsClosed) {
  const HANDLE hGo = NewEvent();
  const HANDLE hDone = NewEvent();
  const auto body = [hGo, hDone] {
    WaitForSingleObject(hGo, OneMinute);
    SetEvent(hDone);
  };
  const HANDLE hThread = CreateThread(body, "TestProc", nullptr);
  EXPECT_TRUE(CloseHandle(hThread));
  EXPECT_EQ(WaitForSingleObject(hThread, INFINITE), WAIT_FAILED);
  SetEvent(hGo);
  EXPECT_EQ(WaitForSingleObject(hDone, OneMinute), WAIT_OBJECT_0);
  // The thread's last call may still be on its way out of the board.
  Sleep(AWhile);
}

TEST_P(KernelContract, ANameGivesAnotherHandleOfTheSameEvent) {
  const HANDLE hFirst = NewEvent(Reset::Automatic, u"MyEvent");
  const HANDLE hSecond = NewEvent(Reset::Automatic, u"MyEvent");
  const HANDLE hOther = NewEvent(Reset::Automatic, u"OtherEvent");
  EXPECT_NE(hFirst, hSecond);
  SetEvent(hFirst);
  EXPECT_EQ(WaitForSingleObject(hOther, 0), WAIT_TIMEOUT);
  EXPECT_EQ(WaitForSingleObject(hSecond, 0), WAIT_OBJECT_0);
  EXPECT_EQ(WaitForSingleObject(hFirst, 0), WAIT_TIMEOUT);
  {
    const Thread waiter([&] { EXPECT_EQ(WaitForSingleObject(hSecond, OneMinute), WAIT_OBJECT_0); });
    Sleep(AWhile);
    CloseHandle(hFirst);
    SetEvent(hSecond);
  }
  CloseHandle(hSecond);
  const HANDLE hNew = Keep(CreateEventW(TRUE, TRUE, u"MyEvent"));
  EXPECT_EQ(WaitForSingleObject(hNew, 0), WAIT_OBJECT_0);
}

TEST_P(KernelContract, CriticalSectionsExcludeOthersAndAreRecursive) {
  CRITICAL_SECTION section;
  InitializeCriticalSection(&section, "m_csTest");
  int nCount = 0;
  const auto body = [&] {
    for (int nRound = 0; nRound < 500; ++nRound) {
      EnterCriticalSection(&section);
      const int nBefore = nCount;
      EnterCriticalSection(&section);
      LeaveCriticalSection(&section);
      nCount = nBefore + 1;
      LeaveCriticalSection(&section);
    }
  };
  {
    const Thread first(body);
    const Thread second(body);
    const Thread third(body);
  }
  EXPECT_EQ(nCount, 1'500);
  DeleteCriticalSection(&section);
}

TEST_P(KernelContract, TheTickCounterWraps) {
  constexpr DWORD dwBefore = 10;
  MakeBoard(0U - dwBefore);
  const DWORD dwStart = GetTickCount();
  Sleep(3 * dwBefore);
  const DWORD dwEnd = GetTickCount();
  EXPECT_LT(dwEnd, dwStart);
  EXPECT_GE(dwEnd - dwStart, 3 * dwBefore);
}

TEST_P(KernelContract, MemoryIsFilledWithZeros) {
  constexpr std::size_t nBytes = 10'000;
  auto* pBytes = static_cast<char*>(LocalAlloc(nBytes));
  ASSERT_NE(pBytes, nullptr);
  EXPECT_EQ(std::string(pBytes, nBytes), std::string(nBytes, '\0'));
  LocalFree(pBytes);
}

INSTANTIATE_TEST_SUITE_P(Boards, KernelContract, AllBoards(), BoardName);

}  // namespace
}  // namespace contract
