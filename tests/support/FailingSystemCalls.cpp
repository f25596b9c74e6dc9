#include "support/FailingSystemCalls.h"

#include <fcntl.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <utility>

namespace photometer::tests {
namespace {

int g_nCallsLeft = 0;
CallFault g_fault = CallFault::None;

/// The fault of this call.
CallFault Reached() {
  return g_nCallsLeft > 0 && --g_nCallsLeft == 0 ? std::exchange(g_fault, CallFault::None) : CallFault::None;
}

int Result(long nResult) { return static_cast<int>(nResult); }

/// A call that is done as a whole or not at all.
template <typename Call>
int WholeCall(Call call) {
  switch (Reached()) {
    case CallFault::None:
      return Result(call());
    case CallFault::EndsProcess:
      _exit(EndedByFault);
    default:
      errno = ENOSPC;
      return -1;
  }
}

}  // namespace

void ArmSystemCall(int n, CallFault fault) {
  g_nCallsLeft = n;
  g_fault = fault;
}

bool DisarmSystemCalls() {
  g_nCallsLeft = 0;
  return std::exchange(g_fault, CallFault::None) == CallFault::None;
}

}  // namespace photometer::tests

using photometer::tests::CallFault;
using photometer::tests::WholeCall;

// The program's own definitions go before those of the C library, also for the libraries that it loads: they must be
// seen from there.
#pragma GCC visibility push(default)
extern "C" {

ssize_t write(int iFile, const void* pBytes, size_t nBytes) {
  const CallFault fault = photometer::tests::Reached();
  if (fault == CallFault::Fails) {
    errno = ENOSPC;
    return -1;
  }
  if (fault == CallFault::FailsHalfway) {
    // What the caller tries next finds no space at all.
    photometer::tests::ArmSystemCall(1, CallFault::Fails);
  }
  const ssize_t nWritten = syscall(SYS_write, iFile, pBytes, fault == CallFault::None ? nBytes : nBytes / 2);
  if (fault == CallFault::EndsProcess) {
    _exit(photometer::tests::EndedByFault);
  }
  return nWritten;
}

int fsync(int iFile) {
  return WholeCall([=] { return syscall(SYS_fsync, iFile); });
}

int link(const char* from, const char* to) noexcept {
  return WholeCall([=] { return syscall(SYS_linkat, AT_FDCWD, from, AT_FDCWD, to, 0); });
}

int rename(const char* from, const char* to) noexcept {
  return WholeCall([=] { return syscall(SYS_renameat2, AT_FDCWD, from, AT_FDCWD, to, 0); });
}

int renameat(int iFromFolder, const char* from, int iToFolder, const char* to) noexcept {
  return WholeCall([=] { return syscall(SYS_renameat2, iFromFolder, from, iToFolder, to, 0); });
}

int renameat2(int iFromFolder, const char* from, int iToFolder, const char* to, unsigned uFlags) noexcept {
  return WholeCall([=] { return syscall(SYS_renameat2, iFromFolder, from, iToFolder, to, uFlags); });
}
}
#pragma GCC visibility pop
