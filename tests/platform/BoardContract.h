/// Base of the tests that every board must pass, unchanged: what differs between boards is a fault of one.
///
/// They call the layer's functions. They assert that nothing ends early and never how long it takes: what would take
/// too long does not end at all, because the time-outs that must not matter are a minute.
#pragma once

#include <functional>
#include <string>

#include <gtest/gtest.h>

#include "BoardUnderTest.h"
#include "platform/Platform.h"

namespace contract {

using namespace photometer;
using namespace photometer::platform;

constexpr DWORD OneMinute = 60'000;
constexpr DWORD UsualStartTick = 1'000;
/// Enough for another thread to reach its wait; a test is as good, only weaker, when it was not.
constexpr DWORD AWhile = 20;

class BoardContract : public testing::TestWithParam<BoardFactory> {
 protected:
  void SetUp() override { MakeBoard(UsualStartTick); }
  void TearDown() override {
    for (const HANDLE handle : m_handles) CloseHandle(handle);
    SetBoard(nullptr);
  }

  void MakeBoard(DWORD dwStartTick) {
    SetBoard(nullptr);
    m_handles.clear();
    m_pWorld.reset();
    m_pWorld = GetParam().make(dwStartTick);
    SetBoard(&m_pWorld->GetBoard());
  }

  /// Closes the handle at the end of the test, unless the test has done so.
  HANDLE Keep(HANDLE handle) { return m_handles.emplace_back(handle); }

  static std::uint64_t Microseconds() { return CurrentBoard().GetKernel().GetMicroseconds(); }

  std::unique_ptr<BoardUnderTest> m_pWorld;

 private:
  std::vector<HANDLE> m_handles;
};

/// Runs a suite on every board.
inline auto AllBoards() { return testing::ValuesIn(BoardFactories()); }
inline std::string BoardName(const testing::TestParamInfo<BoardFactory>& info) { return info.param.name; }

/// A thread of the board, waited for at the end of its scope.
class Thread {
 public:
  explicit Thread(std::function<void()> body) : m_hThread(CreateThread(std::move(body), "TestProc", nullptr)) {
    EXPECT_NE(m_hThread, HANDLE{0});
  }
  ~Thread() {
    EXPECT_EQ(WaitForSingleObject(m_hThread, OneMinute), WAIT_OBJECT_0);
    EXPECT_TRUE(CloseHandle(m_hThread));
  }
  Thread(const Thread&) = delete;
  Thread& operator=(const Thread&) = delete;

 private:
  HANDLE m_hThread;
};

}  // namespace contract
