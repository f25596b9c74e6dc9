/// One open serial line of the POSIX board.
///
/// Shared by the port table and by every call that runs on it: the descriptor is closed when the last of them has let
/// go, so its number never names another file under a running call. `Close` ends the waits of running calls through an
/// event descriptor; the exclusive lock is given up at once, so that the line can be opened again.
///
/// **Threads.** A read and a write run side by side. Writes of several threads go out one after the other, each whole.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>

#include "platform/Types.h"
#include "platform/posix/BoardFile.h"

namespace photometer::platform {

class PosixPort {
 public:
  /// Raw mode, exclusive, nothing received. Null: no such device, in use, or not a serial line.
  static std::shared_ptr<PosixPort> Open(const SerialPortEntry& entry);
  /// Takes over both descriptors.
  PosixPort(int nLine, int nClosing, bool bAtOnce);
  ~PosixPort();
  PosixPort(const PosixPort&) = delete;
  PosixPort& operator=(const PosixPort&) = delete;

  bool GetState(DCB* pState);
  bool SetState(const DCB& state);
  bool SetMask(DWORD dwMask);
  bool SetTimeouts(const COMMTIMEOUTS& timeouts);
  bool Purge(DWORD dwFlags);
  /// Ends with the buffer full, with the line silent for the interval after a byte, or with multiplier × bytes +
  /// constant passed without one (the whole read, where there is no interval). Both 0: no end without bytes. At-once
  /// lines end with the first bytes, as does any line with the interval `INFINITE`, for which the constant counts alone
  /// (0: what is there). Bytes that came before the line was lost are delivered; the next read tells the loss.
  bool Read(char* pBuffer, DWORD dwBytes, DWORD* pBytesRead);
  /// Hands the bytes to the driver. Time: multiplier × bytes + constant, but never less than the bytes need at the
  /// line's rate behind those that still wait to be sent; both 0: no limit. False with fewer bytes: the rest was not
  /// taken.
  bool Write(const char* pBuffer, DWORD dwBytes, DWORD* pBytesWritten);
  void Close();
  /// The device has gone; the port is closed.
  [[nodiscard]] bool IsLost() const { return m_bLost; }

 private:
  enum class Progress { Moved, Waiting, Lost };
  enum class Readiness { Ready, HungUp, TimedOut, Closed };

  bool Configure();
  [[nodiscard]] COMMTIMEOUTS Timeouts();
  [[nodiscard]] std::int64_t WriteDeadline(DWORD dwBytes);
  Progress ReadSome(char* pBuffer, DWORD dwBytes, DWORD* pBytesRead);
  Progress WriteSome(const char* pBuffer, DWORD dwBytes, DWORD* pBytesWritten);
  [[nodiscard]] Readiness WaitFor(short nEvents, std::int64_t nDeadline) const;
  void Lose();

  const int m_nLine;
  const int m_nClosing;
  const bool m_bAtOnce;
  std::atomic<bool> m_bClosed{false};
  std::atomic<bool> m_bLost{false};
  /// Held through a write.
  std::mutex m_writing;
  /// Guards what follows.
  std::mutex m_settings;
  DCB m_state{};
  COMMTIMEOUTS m_timeouts{};
  DWORD m_dwMask = 0;
};

}  // namespace photometer::platform
