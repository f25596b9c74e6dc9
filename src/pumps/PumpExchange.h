/// One exchange with a pump, from the claim of its line to the end of the answer.
///
/// There is one way to begin: the line is claimed (a second exchange waits, at most a minute); late answers of an
/// earlier one are let by; the buffer is emptied and its event reset; the capture is switched on; only then the command
/// goes out. An exchange that ends without `Complete` leaves its answer to come. The line is given back when the object
/// dies.
///
/// Every wait ends when the device stops. Without the device's events nothing waits: that counts as silence.
#pragma once

#include <span>
#include <string>
#include <string_view>

#include "pumps/PumpLine.h"

namespace photometer {

/// How long a pump may be silent before an answer counts as missing, ms.
inline constexpr DWORD PUMP_SILENCE_LIMIT = 60000;

/// What ends the waits of an exchange beside bytes, silence and the device's stop.
enum class PumpInterrupts {
  None,
  /// The cancel event and that of the pump's lost port.
  CancelAndLoss
};

class PumpExchange {
 public:
  enum class Arrival { Data, Silence, Cancel, Lost, Stop };

  /// `hOwnCancel`: takes the place of the pump's cancel event, for this exchange alone. 0: none.
  PumpExchange(DeviceState& state, PumpLine& line, PumpInterrupts interrupts = PumpInterrupts::None,
               HANDLE hOwnCancel = 0)
      : m_State(state), m_Line(line), m_Interrupts(interrupts), m_hOwnCancel(hOwnCancel) {}
  ~PumpExchange();
  PumpExchange(const PumpExchange&) = delete;
  PumpExchange& operator=(const PumpExchange&) = delete;

  /// False: the line was not free for a minute, or the wait was interrupted.
  bool Begin();
  /// Writes a command, with what came before it forgotten. False: it could not be written.
  bool Send(std::string_view bytes);
  /// Waits for bytes and appends them to `collected`. Bytes win over all other ends but the device's stop.
  Arrival Receive(std::string& collected, DWORD dwMilliseconds);
  /// The cancel event is signalled, and the exchange may be interrupted.
  [[nodiscard]] bool IsCancelled() const;
  [[nodiscard]] bool HasOwnCancel() const { return m_hOwnCancel != 0; }
  /// The answer is complete: nothing more is to come.
  void Complete() { m_bComplete = true; }
  /// The reader has its bytes again. State lock.
  void EndCapture() { m_Line.StopCapture(); }

 private:
  bool ClaimLine();
  [[nodiscard]] HANDLE CancelEvent() const { return m_hOwnCancel != 0 ? m_hOwnCancel : m_State.PumpCancelEvent(); }

  DeviceState& m_State;
  PumpLine& m_Line;
  PumpInterrupts m_Interrupts;
  HANDLE m_hOwnCancel;
  bool m_bClaimed = false;
  bool m_bComplete = false;
};

/// What an answer means.
struct PumpAnswer {
  /// Looked for in all bytes collected so far, start and end byte included.
  std::string_view text;
  DWORD dwResult;
};

/// A command of the ZQ-410 and its answers.
struct PumpDialogue {
  /// Looked for in this order.
  std::span<const PumpAnswer> answers;
  /// Results: no bytes for a minute, or no answer within the limit; more than 1,024 bytes without an answer; the
  /// command could not be written (0: that is not noticed, but by the silence that follows).
  DWORD dwSilence;
  DWORD dwTooLong;
  DWORD dwWrite;
  /// The pump's keep-alive is answered meanwhile.
  bool bAnswersKeepAlive = false;
};

/// Sends the command and waits for one of its answers: the result of that, or one of the failures. `nLimit`: how long
/// other bytes keep it waiting, ms.
DWORD Converse(DeviceState& state, PumpLine& line, std::string_view command, const PumpDialogue& dialogue,
               std::uint64_t nLimit);

}  // namespace photometer
