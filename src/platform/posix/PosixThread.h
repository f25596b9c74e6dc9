/// Threads of the POSIX board.
#pragma once

#include "platform/Board.h"

namespace photometer::platform {

/// Starts a thread that nobody joins. It carries the first 15 characters of the name, which debuggers show, and leaves
/// the process's signals to the host's own threads. False: the system has no room for another one.
bool StartDetachedThread(ThreadStart start, DWORD dwThreadId);
/// A number for a thread, above 0 and never used twice in a process (until 2^32 threads have run).
DWORD NewThreadId();
/// The number of the calling thread; threads that the board did not start get theirs with the first call.
DWORD CurrentThreadId();

}  // namespace photometer::platform
