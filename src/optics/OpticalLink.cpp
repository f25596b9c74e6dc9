#include "optics/OpticalLink.h"

#include <algorithm>
#include <array>
#include <utility>

#include "logging/LogFiles.h"
#include "optics/OpticalExchange.h"
#include "state/Deadline.h"

namespace photometer {

namespace {

constexpr LineSettings OPTICAL_LINE{115200, 8, NOPARITY};

/// Silence that says that the line end behind an answer has come, ms: two bytes take 0.2 ms, and the read that takes
/// them in may end its interval time-out of 1 ms later.
constexpr DWORD QUIET_AFTER_LINE_END = 2;
/// Silence that says that the answers to raw writes have come, ms.
constexpr DWORD QUIET_AFTER_ANSWER = 100;
/// How long the line may stay busy before the exchange begins all the same, ms.
constexpr DWORD LINE_END_LIMIT = 100;
constexpr DWORD LATE_ANSWER_LIMIT = 2000;
/// The longest stream takes its time to end.
constexpr DWORD STREAM_LIMIT = 15000;
/// Between two looks at a line that another exchange owns, ms.
constexpr DWORD CLAIM_PAUSE = 1;

/// Mirror parked, lamps and fan off.
constexpr std::array<const char*, 4> SWITCH_OFF{"$r0\r", "$d0\r", "$h0\r", "$f0\r"};

bool Contains(const std::string& text, const char* word) { return text.find(word) != std::string::npos; }

}  // namespace

// ---- port and reader ----

BOOL OpticalLink::OpenOpticalPort() {
  {
    const auto state = m_State.Lock();
    m_Waiting.clear();  // what is owed to the switching off of a `Shutdown` just before stays owed
    m_LineEnds = {};    // another unit may answer now
  }
  PortReader reader{.name = "OpticalReader", .onBlock = nullptr, .onEnd = nullptr};
  reader.onBlock = [this](std::string_view bytes) { KeepReceived(bytes); };
  reader.onEnd = [](bool) { NKDbgPrintfW("[Photometer] Ending reader thread.\n\r"); };
  return m_Port.Open(OPTICAL_LINE, std::move(reader));
}

void OpticalLink::KeepReceived(std::string_view bytes) {
  bool bDropped = false;
  {
    const auto state = m_State.Lock();
    m_LineEnds.Take(bytes);
    if (!m_bExchanging) {
      m_Owed.Take(bytes);
    }
    if (state->m_Status.bBusy) {
      bDropped = m_Buffer.Append(bytes);
    }
  }
  m_Buffer.Signal();
  if (bDropped) {
    LogPhotometer("[Photometer] Receive buffer of the optical port full, oldest bytes dropped.");
  }
}

// ---- raw writes ----

BOOL OpticalLink::WriteOpticalRaw(std::string_view bytes) {
  std::size_t nOwed = 0;
  {
    const auto state = m_State.Lock();
    nOwed = m_Owed.Count();
    NoteBacklog(m_Owed.Note(bytes) ? Backlog::Stream : Backlog::Answer);
    nOwed = m_Owed.Count() - nOwed;
  }
  const PortWrite result = m_Port.Write(bytes);
  const auto state = m_State.Lock();
  if (result == PortWrite::Failed) {
    m_Owed.Forget();  // what takes nothing brings nothing
  } else if (result == PortWrite::Closed) {
    m_Owed.TakeBack(nOwed);  // the unit is still at what it was told before
  }
  return result == PortWrite::Written;
}

BOOL OpticalLink::WriteBetweenExchanges(std::string_view bytes) {
  Enqueue(bytes);
  return SendWaiting();
}

void OpticalLink::Enqueue(std::string_view bytes) {
  const auto state = m_State.Lock();
  if (!m_State.IsStopping()) {
    m_Waiting.emplace_back(bytes);
  }
}

BOOL OpticalLink::SendWaiting() {
  if (TryClaim()) {
    return ReleaseClaim();
  }
  return m_State.IsStopping() ? FALSE : TRUE;
}

void OpticalLink::SwitchOff() {
  for (const char* strCommand : SWITCH_OFF) {
    WriteOpticalRaw(strCommand);
  }
}

void OpticalLink::ClaimSwitchOff() {
  for (const char* strCommand : SWITCH_OFF) {
    Enqueue(strCommand);
  }
  ForgetUnit();
}

void OpticalLink::HandleInstrumentError(DWORD dwError) {
  SwitchOff();
  ForgetUnit();
  m_Sink.Notify([dwError](IPhotometerSink& sink) { sink.OnError(0, dwError); });
}

void OpticalLink::ForgetUnit() {
  const auto state = m_State.Lock();
  state->m_Cache.ForgetAfterError();
  state->EndUVSession();
}

// ---- claiming the line ----

bool OpticalLink::TryClaim() {
  const auto state = m_State.Lock();
  if (m_bClaimed || m_State.IsStopping()) {
    return false;
  }
  m_bClaimed = true;
  return true;
}

bool OpticalLink::Claim() {
  const Deadline limit(SILENCE_LIMIT);
  while (!TryClaim()) {
    if (limit.Rest() == 0 || !m_State.Pause(CLAIM_PAUSE)) {
      return false;
    }
  }
  return true;
}

bool OpticalLink::IsClaimed() {
  const auto state = m_State.Lock();
  return m_bClaimed;
}

void OpticalLink::AwaitClaims(DWORD dwMilliseconds) {
  const Deadline limit(dwMilliseconds);
  while (IsClaimed() && limit.Rest() > 0) {
    Sleep(CLAIM_PAUSE);
  }
}

std::vector<std::string> OpticalLink::TakeWaiting(bool bReleaseIfNone) {
  const auto state = m_State.Lock();
  if (m_State.IsStopping()) {
    m_Waiting.clear();
  }
  m_bClaimed = !(bReleaseIfNone && m_Waiting.empty());
  return std::exchange(m_Waiting, {});
}

BOOL OpticalLink::WriteAll(const std::vector<std::string>& waiting) {
  BOOL bWritten = TRUE;
  for (const std::string& bytes : waiting) {
    bWritten = WriteOpticalRaw(bytes);
  }
  return bWritten;
}

BOOL OpticalLink::ReleaseClaim() {
  BOOL bWritten = TRUE;
  for (auto waiting = TakeWaiting(true); !waiting.empty(); waiting = TakeWaiting(true)) {
    bWritten = WriteAll(waiting);
  }
  return bWritten;
}

// ---- late bytes ----

void OpticalLink::NoteBacklog(Backlog backlog) {
  const auto state = m_State.Lock();
  m_Backlog = std::max(m_Backlog, backlog);
}

Backlog OpticalLink::TakeBacklog() {
  const auto state = m_State.Lock();
  return std::exchange(m_Backlog, Backlog::LineEnd);
}

void OpticalLink::DrainBacklog(ExchangeKind kind) {
  switch (TakeBacklog()) {
    case Backlog::Stream:
      WaitForOwedAnswers();
      return WaitUntilQuiet(QUIET_AFTER_ANSWER, STREAM_LIMIT);
    case Backlog::Answer:
      WaitForOwedAnswers();
      return WaitUntilQuiet(QUIET_AFTER_ANSWER, LATE_ANSWER_LIMIT);
    case Backlog::LineEnd:
      if (kind == ExchangeKind::Data) {
        WaitForLineEnd();
        WaitUntilQuiet(QUIET_AFTER_LINE_END, LINE_END_LIMIT);
      }
  }
}

void OpticalLink::WaitForOwedAnswers() {
  const std::array<HANDLE, 2> handles{m_Buffer.DataEvent(), m_State.StopEvent()};
  const auto rest = [this] {
    const auto state = m_State.Lock();
    return m_Owed.Rest();
  };
  for (DWORD dwRest = rest(); dwRest != 0; dwRest = rest()) {
    if (WaitForMultipleObjects(2, handles.data(), dwRest) != WAIT_OBJECT_0) {
      break;
    }
  }
  const auto state = m_State.Lock();
  if (!m_State.IsStopping()) {  // what a stop has interrupted is still to come, and with it what the stop asks for
    m_Owed.Forget();
  }
}

// The reader may be held up for longer than the line is quiet.
void OpticalLink::WaitForLineEnd() {
  const std::array<HANDLE, 2> handles{m_Buffer.DataEvent(), m_State.StopEvent()};
  const auto isDue = [this] {
    const auto state = m_State.Lock();
    return m_LineEnds.IsDue();
  };
  for (const Deadline limit(LINE_END_LIMIT); isDue();) {
    const DWORD dwRest = limit.Rest();
    if (dwRest == 0 || WaitForMultipleObjects(2, handles.data(), dwRest) != WAIT_OBJECT_0) {
      break;
    }
  }
  const auto state = m_State.Lock();
  m_LineEnds.GiveUp();
}

void OpticalLink::WaitUntilQuiet(DWORD dwQuiet, DWORD dwLimit) {
  const Deadline limit(dwLimit);
  const std::array<HANDLE, 2> handles{m_Buffer.DataEvent(), m_State.StopEvent()};
  do {
    m_Buffer.Clear();
    if (WaitForMultipleObjects(2, handles.data(), dwQuiet) != WAIT_OBJECT_0) {
      return;
    }
  } while (limit.Rest() > 0);
}

void OpticalLink::SetExchanging(bool bExchanging) {
  const auto state = m_State.Lock();
  m_bExchanging = bExchanging;
}

void OpticalLink::OweBytes(std::size_t nBytes) {
  const auto state = m_State.Lock();
  NoteBacklog(Backlog::Stream);
  m_Owed.NoteBytes(nBytes);
  m_bExchanging = false;
}

// ---- commands ----

DWORD OpticalLink::SendCommand(std::string_view strCommand, DWORD dwMaxReply) {
  OpticalExchange exchange(*this, ExchangeKind::Setting);
  if (!exchange.Send(strCommand)) {
    return CAUSE_WRITE;
  }
  for (std::string reply;;) {
    if (exchange.Receive(reply) == OpticalExchange::Arrival::Silence) {
      return exchange.GiveUp(Backlog::Answer, CAUSE_SILENCE);
    }
    if (reply.size() > dwMaxReply) {
      return exchange.GiveUp(Backlog::Answer, CAUSE_TOO_LONG);
    }
    const bool bError = Contains(reply, "error");
    if (bError || Contains(reply, "ok")) {
      const auto state = m_State.Lock();
      m_LineEnds.Answered();
      return bError ? CAUSE_ERROR : 0;
    }
  }
}

}  // namespace photometer
