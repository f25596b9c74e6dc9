/// A virtual board that is the current one for as long as it lives, and what its tests share.
#pragma once

#include <sys/wait.h>

#include <array>
#include <cstdio>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "platform/virtual/ExhaustivePolicy.h"
#include "platform/virtual/ReplayPolicy.h"
#include "platform/virtual/VirtualBoard.h"
#include "support/ScriptedDevice.h"

namespace virtualtest {

using namespace photometer;
using namespace photometer::platform;
using tests::ScriptedDevice;

inline VirtualBoardOptions Seeded(std::uint64_t seed) {
  VirtualBoardOptions options;
  options.policy = Policy::Random;
  options.seed = seed;
  return options;
}

/// One of each kind of policy.
inline std::vector<VirtualBoardOptions> EveryPolicy(std::uint64_t seed) {
  std::vector<VirtualBoardOptions> all(5);
  all[1].policy = Policy::Random;
  all[2].policy = Policy::Priority;
  all[3].pPolicy = std::make_shared<ExhaustivePolicy>(ExhaustiveOptions{.nFirstPoint = 1});
  all[4].pPolicy = std::make_shared<ReplayPolicy>(DecisionList{{DecisionKind::Switch, 1, 1, 0, 2}});
  for (VirtualBoardOptions& options : all) {
    options.seed = seed;
  }
  return all;
}

/// The current board, and threads that are waited for when it goes.
class OnVirtualBoard {
 public:
  explicit OnVirtualBoard(const VirtualBoardOptions& options = {}) : board(options) { SetBoard(&board); }
  ~OnVirtualBoard() {
    Join();
    SetBoard(nullptr);
  }
  OnVirtualBoard(const OnVirtualBoard&) = delete;
  OnVirtualBoard& operator=(const OnVirtualBoard&) = delete;

  void Run(const char* name, std::function<void()> body) {
    m_threads.push_back(CreateThread(std::move(body), name, nullptr));
  }
  void Join() {
    for (const HANDLE hThread : std::exchange(m_threads, {})) {
      if (WaitForSingleObject(hThread, INFINITE) == WAIT_FAILED) {
        // After a deadlock every wait fails at once; time still goes on.
        Sleep(1000);
        WaitForSingleObject(hThread, 0);
      }
      CloseHandle(hThread);
    }
  }

  VirtualBoard board;

 private:
  std::vector<HANDLE> m_threads;
};

/// A critical section, entered and left by hand.
class Lock {
 public:
  explicit Lock(const char* name) { InitializeCriticalSection(&m_section, name); }
  ~Lock() { DeleteCriticalSection(&m_section); }
  Lock(const Lock&) = delete;
  Lock& operator=(const Lock&) = delete;

  void Enter() { EnterCriticalSection(&m_section); }
  void Leave() { LeaveCriticalSection(&m_section); }

 private:
  CRITICAL_SECTION m_section;
};

struct ChildResult {
  int nExitCode;
  std::string output;
};

/// Runs one disabled test of this program in a process of its own; the output holds both streams.
inline ChildResult RunInChild(const std::string& test) {
  const std::string program = std::filesystem::read_symlink("/proc/self/exe").string();
  const std::string command = "'" + program + "' --gtest_also_run_disabled_tests --gtest_filter='" + test + "' 2>&1";
  FILE* pPipe = popen(command.c_str(), "r");
  ChildResult result{-1, {}};
  std::array<char, 4096> block{};
  for (std::size_t nRead = 0; (nRead = std::fread(block.data(), 1, block.size(), pPipe)) > 0;) {
    result.output.append(block.data(), nRead);
  }
  const int nStatus = pclose(pPipe);
  result.nExitCode = WIFEXITED(nStatus) ? WEXITSTATUS(nStatus) : -1;
  return result;
}

}  // namespace virtualtest
