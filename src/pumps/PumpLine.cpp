#include "pumps/PumpLine.h"

#include "logging/LogFiles.h"
#include "state/Deadline.h"

namespace photometer {

namespace {

/// Silence that says that the answer to a command that was given up has come, ms.
constexpr DWORD QUIET_AFTER_ANSWER = 100;
/// How long the line may stay busy before the exchange begins all the same, ms.
constexpr DWORD QUIET_LIMIT = 2000;

}  // namespace

BOOL PumpLine::Write(std::string_view bytes) {
  m_dwTrafficTick = GetTickCount();
  return m_Port.Write(bytes) == PortWrite::Written;
}

bool PumpLine::TakeBlock(std::string_view bytes, FrameReader* pFrames) {
  m_dwTrafficTick = GetTickCount();
  bool bCaptured = false;
  bool bDropped = false;
  {
    const auto state = m_State.Lock();
    bCaptured = m_Buffer.IsCapturing();
    bDropped = bCaptured && m_Buffer.Append(bytes);
  }
  if (bCaptured) {
    m_Buffer.Signal();
    pFrames->Clear();  // the rest of a frame that has begun went to the exchange
  } else {
    bDropped = pFrames->Append(bytes);
  }
  if (bDropped) {
    LogDrop();
  }
  return bCaptured;
}

void PumpLine::LogDrop() {
  LogPhotometerF(FALSE, "[Photometer] Receive buffer of the %s full, oldest bytes dropped.", m_strLabel);
}

bool PumpLine::IsClaimed() {
  const auto state = m_State.Lock();
  return m_bClaimed;
}

bool PumpLine::Claim() {
  const auto state = m_State.Lock();
  if (m_bClaimed) {
    return false;
  }
  m_bClaimed = true;
  return true;
}

void PumpLine::ReleaseClaim() {
  const auto state = m_State.Lock();
  m_bClaimed = false;
}

void PumpLine::WaitUntilQuiet() {
  if (!m_bBacklog.exchange(false)) {
    return;
  }
  for (const Deadline limit(QUIET_LIMIT); limit.Rest() > 0;) {
    const DWORD dwTraffic = m_dwTrafficTick;
    const DWORD dwQuiet = GetTickCount() - dwTraffic;
    if (dwQuiet >= QUIET_AFTER_ANSWER || !m_State.Pause(QUIET_AFTER_ANSWER - dwQuiet)) {
      return;
    }
  }
}

}  // namespace photometer
