/// Requests to end the program: SIGINT, SIGTERM and SIGHUP. From its making on they end nothing by themselves; they are
/// let in only while the program waits with `Unblocked`, so that none is missed between a look and the wait.
#pragma once

#include <signal.h>

namespace serving {

class StopSignals {
 public:
  StopSignals();

  [[nodiscard]] bool HaveCome() const;
  /// The signal mask for `ppoll`.
  [[nodiscard]] const sigset_t& Unblocked() const { return m_unblocked; }

 private:
  sigset_t m_unblocked{};
};

}  // namespace serving
