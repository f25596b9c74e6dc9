#include "pumps/PumpExchange.h"

#include <algorithm>
#include <array>

#include "state/Deadline.h"

namespace photometer {

namespace {

/// How long a second exchange waits for the line, ms.
constexpr DWORD CLAIM_LIMIT = 60000;
/// Between two looks at a line that another exchange owns, ms.
constexpr DWORD CLAIM_PAUSE = 10;

/// A dialogue's answers are short.
constexpr std::size_t LONGEST_COLLECTION = 1024;

constexpr std::string_view KEEP_ALIVE = "\x02y;a\x03";

void AnswerKeepAlives(PumpLine& line, std::string& collected) {
  for (std::size_t n = collected.find(KEEP_ALIVE); n != std::string::npos; n = collected.find(KEEP_ALIVE)) {
    line.WriteFramed("Y;a");
    collected.erase(0, n + KEEP_ALIVE.size());
  }
}

bool IsSignalled(HANDLE hEvent) { return hEvent != 0 && WaitForSingleObject(hEvent, 0) == WAIT_OBJECT_0; }

const PumpAnswer* FindAnswer(const PumpDialogue& dialogue, const std::string& collected) {
  const auto found = std::ranges::find_if(
      dialogue.answers, [&](const PumpAnswer& answer) { return collected.find(answer.text) != std::string::npos; });
  return found == dialogue.answers.end() ? nullptr : &*found;
}

}  // namespace

PumpExchange::~PumpExchange() {
  if (!m_bClaimed) {
    return;
  }
  EndCapture();
  if (!m_bComplete) {
    m_Line.m_bBacklog = true;
  }
  m_Line.ReleaseClaim();
}

bool PumpExchange::Begin() {
  if (!ClaimLine()) {
    return false;
  }
  m_Line.WaitUntilQuiet();
  if (m_State.IsStopping()) {
    return false;
  }
  const auto state = m_State.Lock();
  m_Line.m_Buffer.Clear();
  m_Line.m_Buffer.SetCapture(true);
  return true;
}

bool PumpExchange::ClaimLine() {
  const Deadline limit(CLAIM_LIMIT);
  for (m_bClaimed = m_Line.Claim(); !m_bClaimed; m_bClaimed = m_Line.Claim()) {
    if (limit.Rest() == 0 || IsCancelled() || !m_State.Pause(CLAIM_PAUSE)) {
      return false;
    }
  }
  return true;
}

bool PumpExchange::Send(std::string_view bytes) {
  m_Line.m_Buffer.Clear();
  return m_Line.Write(bytes) != FALSE;
}

PumpExchange::Arrival PumpExchange::Receive(std::string& collected, DWORD dwMilliseconds) {
  const std::array<HANDLE, 4> handles{m_Line.m_Buffer.DataEvent(), m_State.StopEvent(), CancelEvent(),
                                      m_State.SipperLostEvent()};
  if (std::ranges::find(handles, HANDLE{0}) != handles.end()) {
    return m_State.IsStopping() ? Arrival::Stop : Arrival::Silence;
  }
  const DWORD dwCount = m_Interrupts == PumpInterrupts::None ? 2 : 4;
  const DWORD dwResult = WaitForMultipleObjects(dwCount, handles.data(), dwMilliseconds);
  if (m_State.IsStopping()) {
    return Arrival::Stop;
  }
  switch (dwResult) {
    case WAIT_OBJECT_0:
      m_Line.m_Buffer.CollectReceived(collected);
      return Arrival::Data;
    case WAIT_OBJECT_0 + 2:
      return Arrival::Cancel;
    case WAIT_OBJECT_0 + 3:
      return Arrival::Lost;
    default:
      return Arrival::Silence;
  }
}

bool PumpExchange::IsCancelled() const {
  return m_Interrupts == PumpInterrupts::CancelAndLoss && IsSignalled(CancelEvent());
}

DWORD Converse(DeviceState& state, PumpLine& line, std::string_view command, const PumpDialogue& dialogue,
               std::uint64_t nLimit) {
  PumpExchange exchange(state, line);
  if (!exchange.Begin()) {
    return dialogue.dwSilence;
  }
  if (!exchange.Send(command) && dialogue.dwWrite != 0) {
    return dialogue.dwWrite;
  }
  const Deadline limit(nLimit);
  for (std::string collected;;) {
    const DWORD dwWait = std::min(limit.Rest(), PUMP_SILENCE_LIMIT);
    if (dwWait == 0 || exchange.Receive(collected, dwWait) != PumpExchange::Arrival::Data) {
      return dialogue.dwSilence;
    }
    if (collected.size() > LONGEST_COLLECTION) {
      return dialogue.dwTooLong;
    }
    if (const PumpAnswer* pAnswer = FindAnswer(dialogue, collected)) {
      exchange.Complete();
      return pAnswer->dwResult;
    }
    if (dialogue.bAnswersKeepAlive) {
      AnswerKeepAlives(line, collected);
    }
  }
}

}  // namespace photometer
