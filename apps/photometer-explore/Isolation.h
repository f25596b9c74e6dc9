/// Runs in a process of their own: whatever a run does, the explorer survives it, and no run leaves anything to the
/// next.
#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "Plan.h"
#include "Run.h"

namespace explorer {

/// Memory that a process shares with those it forks.
class SharedMemory {
 public:
  explicit SharedMemory(std::size_t nBytes);
  ~SharedMemory();
  SharedMemory(const SharedMemory&) = delete;
  SharedMemory& operator=(const SharedMemory&) = delete;

  [[nodiscard]] void* Address() const { return m_pAddress; }
  [[nodiscard]] std::size_t Size() const { return m_nBytes; }

 private:
  void* m_pAddress;
  std::size_t m_nBytes;
};

/// Runs a plan in a process of its own. One that does not come back within so many seconds of real time, or crashes,
/// has the violation "no crash".
Outcome RunIsolated(const Plan& plan, const RunOptions& options, unsigned nSeconds = 60);

/// Starts a process that runs `body` and ends with its result. Its number, for `waitpid`.
int StartProcess(const std::function<int()>& body);
/// Waits until one of this process's own has ended, and tells which; `WaitForProcess` has yet to take its result. -1:
/// there is none.
int AnyEndedProcess();
/// Waits for its end. Empty: it ended with 0 or 1; else what ended it.
std::string WaitForProcess(int iProcess, int* pResult);

}  // namespace explorer
