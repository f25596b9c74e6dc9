/// A recursive lock of the virtual board.
#pragma once

#include <memory>
#include <string>

#include "platform/Board.h"
#include "platform/virtual/RuleChecks.h"
#include "platform/virtual/Scheduler.h"

namespace photometer::platform {

class VirtualCriticalSection final : public CriticalSection {
 public:
  /// `nNumber` counts the board's locks.
  VirtualCriticalSection(Scheduler& scheduler, RuleChecks& checks, const std::string& name, unsigned nNumber);
  /// Threads that wait for it are let go without it.
  ~VirtualCriticalSection() override;

  void Enter() override;
  void Leave() override;

 private:
  /// False: not taken, since the calling thread owns it already or every wait fails.
  bool Take();
  /// False: the calling thread does not own it, or has entered it more often.
  bool MayRelease();
  void HandOn();
  /// False: it waits no longer, since every wait fails or the lock is gone (then this object is, too).
  bool WaitForOwner(VirtualThread& thread);
  void CheckForDeadlock(VirtualThread& thread);

  Scheduler& m_scheduler;
  RuleChecks& m_checks;
  std::unique_ptr<LockState> m_pState;
};

}  // namespace photometer::platform
