/// One simulated thread: its fiber, and what it waits for and holds.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "platform/Types.h"
#include "platform/virtual/Fiber.h"

namespace photometer::platform {

struct VirtualThread;
class Scheduler;

/// What a handle of the kernel names: an event, or a thread's end.
struct KernelObject {
  /// As reports name it: `event 3`, `event 4 "MyEvent"`, `thread 2 "Timer"`. Numbers count objects of the board.
  std::string name;
  bool bEvent = false;
  bool bManualReset = false;
  bool bSignalled = false;
  /// In order of arrival.
  std::vector<VirtualThread*> waiters;
  /// Its address stands for the object towards the thread sanitizer.
  char token = 0;
};

/// A simulated critical section.
struct LockState {
  std::string name;
  /// In order of creation.
  unsigned nNumber = 0;
  VirtualThread* pOwner = nullptr;
  unsigned nDepth = 0;
  std::vector<VirtualThread*> waiters;
  char token = 0;
};

struct WaitedHandle {
  HANDLE handle;
  KernelObject* pObject;
};

enum class WakeReason { Woken, TimedOut, Failed };

/// A deadline that never comes.
inline constexpr std::uint64_t NoDeadline = UINT64_MAX;

struct VirtualThread {
  /// The thread that is there already, "main".
  explicit VirtualThread(Scheduler* pItsScheduler);
  VirtualThread(Scheduler* pItsScheduler, Fiber::Entry entry, std::string threadName);

  Scheduler* pScheduler;
  std::string name;
  DWORD dwId = 1;
  std::function<void()> body;
  /// Signalled at its end.
  std::shared_ptr<KernelObject> pObject;

  /// The call of the layer that it made last.
  const char* call = "";
  bool bBlocked = false;
  std::uint64_t nDeadline = NoDeadline;
  /// Which of equal deadlines comes first.
  std::uint64_t nDeadlineOrder = 0;
  WakeReason wakeReason = WakeReason::Woken;
  /// What it waits for; at most one of the three.
  std::vector<WaitedHandle> waits;
  const LockState* pWaitsForLock = nullptr;
  const std::string* pWaitsForPort = nullptr;
  /// Which of the waits ended it, by index and object.
  DWORD dwWokenBy = 0;
  KernelObject* pWokenBy = nullptr;

  /// In the order taken.
  std::vector<LockState*> held;
  /// Its calls of the layer, and how often it could not go on in the last of them, hold-ups aside.
  std::uint64_t nCalls = 0;
  unsigned nWaitsInCall = 0;
  bool bHeldUp = false;
  /// Calls of the layer since time last moved, counted in the window of that number.
  std::uint64_t nWindow = 0;
  std::uint64_t nCallsInWindow = 0;
  unsigned nSpins = 0;

  Fiber fiber;
};

/// The locks that the thread holds: `m_csState, m_csSink`, or `nothing`.
std::string HeldText(const VirtualThread& thread);
/// `"Timer" waits for event 3, in WaitForMultipleObjects; holds nothing`.
std::string Describe(const VirtualThread& thread);

}  // namespace photometer::platform
