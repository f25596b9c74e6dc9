#include "platform/posix/PosixThread.h"

#include <pthread.h>

#include <atomic>
#include <csignal>
#include <memory>

namespace photometer::platform {
namespace {

constexpr std::size_t MaximumNameLength = 15;

struct Launch {
  ThreadStart start;
  DWORD dwThreadId;
};

DWORD& OwnThreadId() {
  thread_local DWORD dwThreadId = 0;
  return dwThreadId;
}

void* RunThread(void* pArgument) {
  const std::unique_ptr<Launch> launch(static_cast<Launch*>(pArgument));
  OwnThreadId() = launch->dwThreadId;
  pthread_setname_np(pthread_self(), launch->start.name.substr(0, MaximumNameLength).c_str());
  launch->start.body();
  return nullptr;
}

/// All signals but those that a fault of the thread itself raises.
sigset_t HostSignals() {
  sigset_t signals;
  sigfillset(&signals);
  for (const int nSignal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGTRAP, SIGPROF}) sigdelset(&signals, nSignal);
  return signals;
}

/// A new thread inherits the mask of the one that starts it.
int CreateWithoutSignals(const pthread_attr_t& attributes, Launch* pLaunch) {
  const sigset_t blocked = HostSignals();
  sigset_t before;
  pthread_sigmask(SIG_BLOCK, &blocked, &before);
  pthread_t thread{};
  const int nError = pthread_create(&thread, &attributes, RunThread, pLaunch);
  pthread_sigmask(SIG_SETMASK, &before, nullptr);
  return nError;
}

}  // namespace

bool StartDetachedThread(ThreadStart start, DWORD dwThreadId) {
  auto launch = std::make_unique<Launch>(Launch{std::move(start), dwThreadId});
  pthread_attr_t attributes;
  if (pthread_attr_init(&attributes) != 0) return false;
  pthread_attr_setdetachstate(&attributes, PTHREAD_CREATE_DETACHED);
  const int nError = CreateWithoutSignals(attributes, launch.get());
  pthread_attr_destroy(&attributes);
  if (nError != 0) return false;
  // The new thread owns it now.
  static_cast<void>(launch.release());
  return true;
}

DWORD NewThreadId() {
  static std::atomic<DWORD> s_dwLast{0};
  DWORD dwThreadId = 0;
  while (dwThreadId == 0) dwThreadId = s_dwLast.fetch_add(1, std::memory_order_relaxed) + 1;
  return dwThreadId;
}

DWORD CurrentThreadId() {
  DWORD& dwThreadId = OwnThreadId();
  if (dwThreadId == 0) dwThreadId = NewThreadId();
  return dwThreadId;
}

}  // namespace photometer::platform
