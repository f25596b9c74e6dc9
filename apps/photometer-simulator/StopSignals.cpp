#include "StopSignals.h"

#include <atomic>
#include <initializer_list>

namespace serving {

namespace {

std::atomic<bool> stopped{false};
static_assert(std::atomic<bool>::is_always_lock_free);

extern "C" void OnStop(int /*iSignal*/) { stopped = true; }

}  // namespace

StopSignals::StopSignals() {
  struct sigaction action {};
  action.sa_handler = OnStop;
  sigemptyset(&action.sa_mask);
  sigset_t blocked;
  sigemptyset(&blocked);
  const auto stopping = {SIGINT, SIGTERM, SIGHUP};
  for (const int iSignal : stopping) {
    sigaction(iSignal, &action, nullptr);
    sigaddset(&blocked, iSignal);
  }
  sigprocmask(SIG_BLOCK, &blocked, &m_unblocked);
  for (const int iSignal : stopping) {
    sigdelset(&m_unblocked, iSignal);
  }
}

bool StopSignals::HaveCome() const { return stopped; }

}  // namespace serving
