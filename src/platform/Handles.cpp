#include <atomic>

#include "platform/Board.h"

namespace photometer::platform {

namespace {

constexpr unsigned KindBits = 2;
constexpr HANDLE KindMask = (HANDLE{1} << KindBits) - 1;

// Starts at 1: 0 means "not open yet". 62 bits do not wrap in a process's life.
std::atomic<HANDLE> nextNumber{1};

}  // namespace

HANDLE NewHandle(HandleKind kind) {
  const HANDLE number = nextNumber.fetch_add(1, std::memory_order_relaxed);
  return (number << KindBits) | static_cast<HANDLE>(kind);
}

HandleKind KindOf(HANDLE handle) { return static_cast<HandleKind>(handle & KindMask); }

}  // namespace photometer::platform
