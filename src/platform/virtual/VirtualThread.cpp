#include "platform/virtual/VirtualThread.h"

#include <utility>

namespace photometer::platform {

namespace {

std::string WaitText(const VirtualThread& thread) {
  if (thread.pWaitsForLock != nullptr) {
    const VirtualThread* pOwner = thread.pWaitsForLock->pOwner;
    return "waits for lock " + thread.pWaitsForLock->name +
           (pOwner == nullptr ? std::string(" (free)") : " (owner \"" + pOwner->name + "\")");
  }
  if (!thread.bBlocked) {
    return "can run";
  }
  if (thread.pWaitsForPort != nullptr) {
    return "waits for port " + *thread.pWaitsForPort;
  }
  std::string text = "waits";
  const char* separator = " for ";
  for (const WaitedHandle& wait : thread.waits) {
    text += separator + wait.pObject->name;
    separator = " or ";
  }
  return text;
}

}  // namespace

VirtualThread::VirtualThread(Scheduler* pItsScheduler) : pScheduler(pItsScheduler), name("main") {}

VirtualThread::VirtualThread(Scheduler* pItsScheduler, Fiber::Entry entry, std::string threadName)
    : pScheduler(pItsScheduler), name(std::move(threadName)), fiber(entry, this, name.c_str()) {}

std::string HeldText(const VirtualThread& thread) {
  std::string text;
  for (const LockState* pLock : thread.held) {
    text += (text.empty() ? "" : ", ") + pLock->name;
  }
  return text.empty() ? "nothing" : text;
}

std::string Describe(const VirtualThread& thread) {
  return '"' + thread.name + "\" " + WaitText(thread) + ", in " + thread.call + "; holds " + HeldText(thread);
}

}  // namespace photometer::platform
