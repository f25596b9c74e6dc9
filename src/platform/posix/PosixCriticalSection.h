/// The recursive lock of the POSIX board.
///
/// `Leave` by a thread that does not own it changes nothing and is noted on standard error with the section's name: the
/// lock stays whole for its owner.
#pragma once

#include <atomic>
#include <mutex>
#include <string>

#include "platform/Board.h"

namespace photometer::platform {

class PosixCriticalSection final : public CriticalSection {
 public:
  explicit PosixCriticalSection(const char* name);

  void Enter() override;
  void Leave() override;

 private:
  std::mutex m_mutex;
  /// Number of the owning thread, 0 without one. Only the owner ever finds its own number here.
  std::atomic<DWORD> m_dwOwner{0};
  /// Touched by the owner only.
  DWORD m_dwDepth = 0;
  std::string m_strName;
};

}  // namespace photometer::platform
