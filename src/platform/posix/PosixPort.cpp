#include "platform/posix/PosixPort.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/file.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>

#include "platform/posix/PosixClock.h"
#include "platform/posix/PosixLineSettings.h"

namespace photometer::platform {
namespace {

/// USB adapters take bytes in blocks, one every 16 ms at the slowest.
constexpr std::int64_t AdapterBlockTime = 20 * NanosecondsPerMillisecond;

/// When a read of so many bytes ends without any. With the interval `INFINITE` the constant counts alone.
std::int64_t ReadDeadline(const COMMTIMEOUTS& timeouts, DWORD dwBytes) {
  if (timeouts.ReadIntervalTimeout == INFINITE) return DeadlineAfter(timeouts.ReadTotalTimeoutConstant);
  const std::int64_t nMilliseconds =
      std::int64_t{timeouts.ReadTotalTimeoutMultiplier} * dwBytes + timeouts.ReadTotalTimeoutConstant;
  if (nMilliseconds == 0) return NoDeadline;
  return MonotonicNanoseconds() + std::min<std::int64_t>(nMilliseconds, INFINITE) * NanosecondsPerMillisecond;
}

bool HasInterval(const COMMTIMEOUTS& timeouts) {
  return timeouts.ReadIntervalTimeout != 0 && timeouts.ReadIntervalTimeout != INFINITE;
}

bool IsRetry(int nError) { return nError == EINTR || nError == EAGAIN; }

/// Zero when the moment has passed.
std::int64_t RemainingUntil(std::int64_t nDeadline) {
  return std::max<std::int64_t>(nDeadline - MonotonicNanoseconds(), 0);
}

}  // namespace

std::shared_ptr<PosixPort> PosixPort::Open(const SerialPortEntry& entry) {
  // Not blocking: neither the open nor a later call waits for modem lines or for room.
  const int nLine = open(entry.device.c_str(), O_RDWR | O_NOCTTY | O_NONBLOCK | O_CLOEXEC);
  if (nLine < 0) return nullptr;
  const int nClosing = eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (nClosing < 0) {
    close(nLine);
    return nullptr;
  }
  auto port = std::make_shared<PosixPort>(nLine, nClosing, entry.bAtOnce);
  return port->Configure() ? port : nullptr;
}

PosixPort::PosixPort(int nLine, int nClosing, bool bAtOnce)
    : m_nLine(nLine), m_nClosing(nClosing), m_bAtOnce(bAtOnce) {}

PosixPort::~PosixPort() {
  close(m_nLine);
  close(m_nClosing);
}

bool PosixPort::Configure() {
  // The lock keeps out openers that ask for it, the administrator's included; the exclusive mode keeps out the others.
  if (flock(m_nLine, LOCK_EX | LOCK_NB) != 0) return false;
  if (ioctl(m_nLine, TIOCEXCL) != 0 || !MakeLineRaw(m_nLine)) return false;
  RequestLowLatency(m_nLine);
  // What came while nobody had the line open is for nobody.
  return DiscardQueues(m_nLine, true, false) && ReadLineSettings(m_nLine, &m_state);
}

bool PosixPort::GetState(DCB* pState) {
  const std::lock_guard lock(m_settings);
  *pState = m_state;
  return !m_bClosed;
}

bool PosixPort::SetState(const DCB& state) {
  const std::lock_guard lock(m_settings);
  if (m_bClosed || !ApplyLineSettings(m_nLine, state)) return false;
  m_state = state;
  return true;
}

bool PosixPort::SetMask(DWORD dwMask) {
  const std::lock_guard lock(m_settings);
  m_dwMask = dwMask;
  return !m_bClosed;
}

bool PosixPort::SetTimeouts(const COMMTIMEOUTS& timeouts) {
  const std::lock_guard lock(m_settings);
  m_timeouts = timeouts;
  return !m_bClosed;
}

bool PosixPort::Purge(DWORD dwFlags) {
  return !m_bClosed && DiscardQueues(m_nLine, (dwFlags & PURGE_RXCLEAR) != 0, (dwFlags & PURGE_TXCLEAR) != 0);
}

bool PosixPort::Read(char* pBuffer, DWORD dwBytes, DWORD* pBytesRead) {
  const COMMTIMEOUTS timeouts = Timeouts();
  const bool bFirstBytes = m_bAtOnce || timeouts.ReadIntervalTimeout == INFINITE;
  std::int64_t nDeadline = ReadDeadline(timeouts, dwBytes);
  *pBytesRead = 0;
  bool bHungUp = false;
  while (*pBytesRead < dwBytes) {
    if (m_bClosed) return false;
    const Progress progress = ReadSome(pBuffer + *pBytesRead, dwBytes - *pBytesRead, pBytesRead);
    if (progress == Progress::Lost || (bHungUp && progress == Progress::Waiting)) {
      if (*pBytesRead > 0) return true;
      Lose();
      return false;
    }
    if (progress == Progress::Moved && bFirstBytes) return true;
    if (progress == Progress::Moved && HasInterval(timeouts)) nDeadline = DeadlineAfter(timeouts.ReadIntervalTimeout);
    if (*pBytesRead == dwBytes) return true;

    const Readiness readiness = WaitFor(POLLIN, nDeadline);
    if (readiness == Readiness::TimedOut) return true;
    bHungUp = readiness == Readiness::HungUp;
  }
  return !m_bClosed;
}

bool PosixPort::Write(const char* pBuffer, DWORD dwBytes, DWORD* pBytesWritten) {
  *pBytesWritten = 0;
  const std::lock_guard lock(m_writing);
  const std::int64_t nDeadline = WriteDeadline(dwBytes);
  bool bHungUp = false;
  while (*pBytesWritten < dwBytes) {
    if (m_bClosed) return false;
    const Progress progress = WriteSome(pBuffer + *pBytesWritten, dwBytes - *pBytesWritten, pBytesWritten);
    if (progress == Progress::Lost || (bHungUp && progress == Progress::Waiting)) {
      Lose();
      return false;
    }
    if (*pBytesWritten == dwBytes) return true;

    const Readiness readiness = WaitFor(POLLOUT, nDeadline);
    if (readiness == Readiness::TimedOut) return false;
    bHungUp = readiness == Readiness::HungUp;
  }
  return !m_bClosed;
}

void PosixPort::Close() {
  if (m_bClosed.exchange(true)) return;
  // Never read back, so that it wakes every call that waits now and later.
  const std::uint64_t nOne = 1;
  static_cast<void>(!write(m_nClosing, &nOne, sizeof nOne));
  ioctl(m_nLine, TIOCNXCL);
  flock(m_nLine, LOCK_UN);
}

COMMTIMEOUTS PosixPort::Timeouts() {
  const std::lock_guard lock(m_settings);
  return m_timeouts;
}

std::int64_t PosixPort::WriteDeadline(DWORD dwBytes) {
  const std::lock_guard lock(m_settings);
  const std::int64_t nMilliseconds =
      std::int64_t{m_timeouts.WriteTotalTimeoutMultiplier} * dwBytes + m_timeouts.WriteTotalTimeoutConstant;
  if (nMilliseconds == 0) return NoDeadline;
  const std::int64_t nGiven = std::min<std::int64_t>(nMilliseconds, INFINITE) * NanosecondsPerMillisecond;
  const std::int64_t nBytes = std::int64_t{BytesInOutputQueue(m_nLine)} + dwBytes;
  const std::int64_t nNeeded = nBytes * NanosecondsPerByte(m_state) + AdapterBlockTime;
  return MonotonicNanoseconds() + std::max(nGiven, nNeeded);
}

PosixPort::Progress PosixPort::ReadSome(char* pBuffer, DWORD dwBytes, DWORD* pBytesRead) {
  const ssize_t nRead = read(m_nLine, pBuffer, dwBytes);
  if (nRead < 0) return IsRetry(errno) ? Progress::Waiting : Progress::Lost;
  if (nRead == 0) return Progress::Lost;
  *pBytesRead += static_cast<DWORD>(nRead);
  return Progress::Moved;
}

PosixPort::Progress PosixPort::WriteSome(const char* pBuffer, DWORD dwBytes, DWORD* pBytesWritten) {
  const ssize_t nWritten = write(m_nLine, pBuffer, dwBytes);
  if (nWritten < 0) return IsRetry(errno) ? Progress::Waiting : Progress::Lost;
  if (nWritten == 0) return Progress::Lost;
  *pBytesWritten += static_cast<DWORD>(nWritten);
  return Progress::Moved;
}

PosixPort::Readiness PosixPort::WaitFor(short nEvents, std::int64_t nDeadline) const {
  std::array<pollfd, 2> descriptors{pollfd{m_nLine, nEvents, 0}, pollfd{m_nClosing, POLLIN, 0}};
  for (;;) {
    const timespec remaining = ToTimespec(RemainingUntil(nDeadline));
    const timespec* pRemaining = nDeadline == NoDeadline ? nullptr : &remaining;
    const int nReady = ppoll(descriptors.data(), descriptors.size(), pRemaining, nullptr);
    if (nReady < 0 && errno == EINTR) continue;
    if (nReady == 0) return Readiness::TimedOut;
    if (nReady < 0) return Readiness::HungUp;
    if (descriptors[1].revents != 0) return Readiness::Closed;
    constexpr short nTrouble = POLLERR | POLLHUP | POLLNVAL;
    return (descriptors[0].revents & nTrouble) != 0 ? Readiness::HungUp : Readiness::Ready;
  }
}

void PosixPort::Lose() {
  if (!m_bClosed) m_bLost = true;
  Close();
}

}  // namespace photometer::platform
