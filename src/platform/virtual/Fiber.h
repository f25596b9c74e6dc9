/// One flow of control with a stack of its own, and the switch between two.
///
/// A switch carries along what the language runtime keeps per operating-system thread (the exceptions in flight and
/// `errno`) and tells the sanitizers. It costs some ten nanoseconds and orders nothing for the thread sanitizer.
/// To that one `errno` is one variable for all fibers: code that reads or writes it by name is reported as a race.
#pragma once

#include <cstddef>
#include <memory>

#include "platform/virtual/FiberStack.h"

namespace photometer::platform {

class Fiber {
 public:
  using Entry = void (*)(void* pArgument);

  /// The flow that runs now.
  Fiber();
  /// A new one: the first switch to it calls `entry` on a fresh stack. `entry` never returns; it ends with
  /// `LeaveFor`. The name is for the thread sanitizer's reports.
  Fiber(Entry entry, void* pArgument, const char* name);
  /// One that has not ended is taken away all the same, and what its stack owns leaks.
  ~Fiber();
  Fiber(const Fiber&) = delete;
  Fiber& operator=(const Fiber&) = delete;

  /// Goes from this fiber, which runs, to the other. Returns when something switches back.
  void SwitchTo(Fiber& next);
  /// The last switch of this fiber, made outside of every `UnobservedScope`. The fiber can then be destroyed.
  [[noreturn]] void LeaveFor(Fiber& next);

 private:
  struct Crossing;
  // The layout of the C++ runtime's record of exceptions in flight (Itanium ABI), which is opaque there.
  struct ExceptionState {
    void* pCaught = nullptr;
    unsigned nUncaught = 0;
  };

  Entry m_entry = nullptr;
  void* m_pArgument = nullptr;
  std::unique_ptr<FiberStack> m_pStack;
  void* m_pContext = nullptr;
  Fiber* m_pNext = nullptr;
  // Known from the start for a new fiber, learnt at the first switch away for the one that was there.
  const void* m_pStackBottom = nullptr;
  std::size_t m_nStackBytes = 0;
  [[maybe_unused]] void* m_pFakeStack = nullptr;
  [[maybe_unused]] void* m_pSanitizerFiber = nullptr;
  ExceptionState m_exceptions;
  int m_nErrno = 0;
  bool m_bEnded = false;
};

}  // namespace photometer::platform
