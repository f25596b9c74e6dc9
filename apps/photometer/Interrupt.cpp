#include "Interrupt.h"

#include <signal.h>

#include <initializer_list>

namespace host {

namespace {

std::atomic<Interrupt*> signalled{nullptr};
static_assert(std::atomic<Interrupt*>::is_always_lock_free);

extern "C" void OnSignal(int iSignal) {
  if (iSignal == SIGINT) {
    signalled.load()->Raise();
  } else {
    signalled.load()->RaiseEnd();
  }
}

}  // namespace

void RaiseOnSignals(Interrupt& interrupt) {
  signalled = &interrupt;
  struct sigaction action {};
  action.sa_handler = OnSignal;
  action.sa_flags = SA_RESTART;
  sigemptyset(&action.sa_mask);
  for (const int iSignal : {SIGINT, SIGTERM, SIGHUP}) {
    sigaction(iSignal, &action, nullptr);
  }
  action.sa_handler = SIG_IGN;
  sigaction(SIGPIPE, &action, nullptr);
}

}  // namespace host
