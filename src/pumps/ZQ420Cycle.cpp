#include "pumps/ZQ420Cycle.h"

#include <algorithm>
#include <array>

namespace photometer {

namespace {

/// How long the pump may take to stop, ms.
constexpr DWORD STOP_LIMIT = 2000;

}  // namespace

/// What a frame means that contains the text; the first of a phase's list counts.
struct ZQ420Cycle::Meaning {
  std::string_view text;
  Ending ending;
  DWORD dwResult;
};

ZQ420Cycle::ZQ420Cycle(DeviceState& state, PumpLine& line, DWORD dwSeconds, HANDLE hOwnCancel)
    : m_State(state),
      m_Line(line),
      m_Exchange(state, line, PumpInterrupts::CancelAndLoss, hOwnCancel),
      m_nPumpTime(dwSeconds * MS_PER_SECOND) {}

DWORD ZQ420Cycle::Run() {
  if (!m_Exchange.Begin()) {
    return m_Exchange.IsCancelled() || m_State.IsStopping() ? ZQ420_CANCELLED : ZQ420_SILENCE;
  }
  m_State.Reset(&DeviceState::SipperLostEvent);  // signalled again within a second, if the port is lost now
  return Finish(Pump());
}

DWORD ZQ420Cycle::Pump() {
  static constexpr std::array<Meaning, 4> Starting{{{"s;f;3", Ending::Fault, ZQ420_FAULT_3},
                                                    {"s;f;5", Ending::Fault, ZQ420_FAULT_5},
                                                    {"s;f;6", Ending::Fault, ZQ420_FAULT_6},
                                                    {"s", Ending::Answered, 0}}};
  static constexpr std::array<Meaning, 3> Pumping{{{"p;f;3", Ending::Fault, ZQ420_FAULT_3},
                                                   {"p;f;5", Ending::Fault, ZQ420_FAULT_5},
                                                   {"p;f;6", Ending::Fault, ZQ420_FAULT_6}}};
  Send("pump", 's');
  const Deadline pumpTime(m_nPumpTime);
  Ending ending = Wait(Starting, pumpTime);
  if (ending == Ending::TimeOut) {
    return StopPump(ZQ420_SILENCE);
  }
  if (ending == Ending::Answered) {
    ending = Wait(Pumping, pumpTime);
  }
  switch (ending) {
    case Ending::Fault:
      m_Exchange.Complete();
      return m_dwFault;
    case Ending::Lost:
      return ZQ420_LOST;
    case Ending::Cancel:
      return StopPump(ZQ420_CANCELLED);
    default:
      return StopPump(0);
  }
}

DWORD ZQ420Cycle::StopPump(DWORD dwResult) {
  static constexpr std::array<Meaning, 1> Stopping{{{"e", Ending::Answered, 0}}};
  m_Frames.Clear();
  Send("stop", 'e');
  switch (Wait(Stopping, Deadline(STOP_LIMIT))) {
    case Ending::Answered:
      m_Exchange.Complete();
      return dwResult;
    case Ending::Cancel:
      return ZQ420_CANCELLED;
    case Ending::Lost:
      return ZQ420_LOST;
    default:
      return ZQ420_SILENCE;
  }
}

ZQ420Cycle::Ending ZQ420Cycle::Wait(std::span<const Meaning> meanings, const Deadline& deadline) {
  for (Ending ending{};;) {
    if (TakeFrames(meanings, &ending)) {
      return ending;
    }
    const DWORD dwRest = deadline.Rest();
    // Bytes win over the cancel event, and a pump that never stops talking must not keep a cancel waiting.
    if (m_Exchange.IsCancelled()) {
      return Ending::Cancel;
    }
    std::string bytes;
    switch (dwRest == 0 ? PumpExchange::Arrival::Silence : m_Exchange.Receive(bytes, dwRest)) {
      case PumpExchange::Arrival::Data:
        if (m_Frames.Append(bytes)) {
          m_Line.LogDrop();
        }
        break;
      case PumpExchange::Arrival::Silence:
        return Ending::TimeOut;
      case PumpExchange::Arrival::Cancel:
      case PumpExchange::Arrival::Stop:
        return Ending::Cancel;
      case PumpExchange::Arrival::Lost:
        return Ending::Lost;
    }
  }
}

bool ZQ420Cycle::TakeFrames(std::span<const Meaning> meanings, Ending* pEnding) {
  while (const auto frame = m_Frames.ExtractFrame()) {
    const auto found = std::ranges::find_if(
        meanings, [&](const Meaning& meaning) { return frame->find(meaning.text) != std::string::npos; });
    if (found != meanings.end()) {
      m_dwFault = found->dwResult;
      *pEnding = found->ending;
      return true;
    }
  }
  return false;
}

void ZQ420Cycle::Send(const char* name, char command) {
  NKDbgPrintfW("[PumpZQ420] send ZQ-420 %s command '%c' ...", name, command);
  m_Exchange.Send(Framed({&command, 1}));
}

DWORD ZQ420Cycle::Finish(DWORD dwResult) {
  const auto state = m_State.Lock();
  m_Exchange.EndCapture();
  state->m_PumpInfo.m_bSipperCycleDone = TRUE;
  return state->m_Status.bCancel && !m_Exchange.HasOwnCancel() ? ZQ420_CANCELLED : dwResult;
}

}  // namespace photometer
