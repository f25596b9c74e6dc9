/// The serial line to the optical unit: "COM2:", exchanges, raw writes, the common error reaction.
///
/// The unit takes short commands ("$F3\r") and answers with plain bytes that carry no mark of what they answer. So the
/// link keeps late bytes from being taken for the next answer: an exchange owns the line from its start to its end,
/// and begins only when nothing of an earlier command can still be on its way (see `OpticalExchange`).
///
/// Raw writes have no exchange. `WriteOpticalRaw` writes at once, for those who switch everything off. A write through
/// `WriteBetweenExchanges` goes out right after a running exchange and before any other command; its caller does not
/// wait. Once the device stops, only `WriteOpticalRaw` writes: what waits or comes then is dropped.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "optics/LineEnds.h"
#include "optics/OwedAnswers.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"
#include "state/ReaderPort.h"
#include "state/ReceiveBuffer.h"
#include "state/WorkerThreads.h"

namespace photometer {

/// Causes of a failed command: each command adds its own base to them.
inline constexpr DWORD CAUSE_RANGE = 1;
inline constexpr DWORD CAUSE_SILENCE = 2;
inline constexpr DWORD CAUSE_TOO_LONG = 3;
inline constexpr DWORD CAUSE_ERROR = 4;
inline constexpr DWORD CAUSE_WRITE = 5;

/// How long the unit may be silent before an answer counts as missing, ms.
inline constexpr DWORD SILENCE_LIMIT = 60000;

/// What may still be on its way to the host, from least to most.
enum class Backlog : DWORD {
  /// The line end behind an answer.
  LineEnd,
  /// The answer to a raw write or to a command that was given up.
  Answer,
  /// The rest of a stream that was given up.
  Stream
};

/// What a started exchange wants of the line.
enum class ExchangeKind {
  /// The answer is searched for a word: a line end in front of it does no harm.
  Setting,
  /// The answer is counted in bytes: the line has to be empty.
  Data
};

class OpticalExchange;

class OpticalLink {
 public:
  OpticalLink(DeviceState& state, HostSink& sink, ReceiveBuffer& buffer, WorkerThreads& threads)
      : m_State(state), m_Sink(sink), m_Buffer(buffer), m_Port(state, threads, u"COM2:") {}

  /// Opens and sets the port up and starts the reader. 0: a step failed, and what was opened is closed again.
  BOOL OpenOpticalPort();
  /// Closes the port. A waiting read ends.
  void CloseOpticalPort() { m_Port.Close(); }
  [[nodiscard]] bool IsOpen() const { return m_Port.IsOpen(); }

  /// Sends the command and judges the answer: 0 for one that contains "ok", else a cause. An answer longer than
  /// `dwMaxReply` bytes is too long.
  DWORD SendCommand(std::string_view strCommand, DWORD dwMaxReply);
  /// Writes with one write call, at once, and waits for nothing. The next exchange waits for the unit's answers.
  BOOL WriteOpticalRaw(std::string_view bytes);
  /// Writes with one write call, at once or right after the running exchange. False: the write failed.
  BOOL WriteBetweenExchanges(std::string_view bytes);
  /// The same in two steps, for those who decide with the state lock held: from `Enqueue` on, the bytes go out before
  /// any other command; `SendWaiting`, without the lock, sends them unless an exchange that runs will. False: the last
  /// write failed.
  void Enqueue(std::string_view bytes);
  BOOL SendWaiting();
  /// An exchange or a write of others has the line.
  [[nodiscard]] bool IsClaimed();
  /// When the device stops: waits until nobody has the line, and so nothing follows the next raw write. At most so
  /// long.
  void AwaitClaims(DWORD dwMilliseconds);
  /// Tells the unit to park the mirror and to switch lamps and fan off, at once.
  void SwitchOff();
  /// State lock held, device not busy: the same in two steps, as with `Enqueue`. What the unit was set to is forgotten,
  /// and the deuterium lamp's session ends.
  void ClaimSwitchOff();
  /// What every procedure does that ends with an instrument error: switches off, forgets what the unit was set to, ends
  /// the deuterium lamp's session, and tells the host. The sink lock, after the state lock.
  void HandleInstrumentError(DWORD dwError);

 private:
  friend class OpticalExchange;

  void KeepReceived(std::string_view bytes);
  /// What the unit was set to is unknown from now on, and the deuterium lamp's session ends.
  void ForgetUnit();
  void NoteBacklog(Backlog backlog);
  Backlog TakeBacklog();
  /// Takes the line, if it is free and the device does not stop.
  bool TryClaim();
  /// Takes the line. False: it was not free for `SILENCE_LIMIT`, or the device stops.
  bool Claim();
  /// Takes what waits for the line; with nothing there, gives the line back if asked to.
  std::vector<std::string> TakeWaiting(bool bReleaseIfNone);
  /// False: the last write failed.
  BOOL WriteAll(const std::vector<std::string>& waiting);
  /// Sends what waited and gives the line back. False: the last write failed.
  BOOL ReleaseClaim();
  /// The bytes that come from now on are the exchange's, or else those that are owed.
  void SetExchanging(bool bExchanging);
  /// So many bytes of the exchange's answer come later, if at all: it waits for them no longer.
  void OweBytes(std::size_t nBytes);
  /// Lets everything that is still on its way arrive, and drops it.
  void DrainBacklog(ExchangeKind kind);
  void WaitForOwedAnswers();
  void WaitForLineEnd();
  void WaitUntilQuiet(DWORD dwQuiet, DWORD dwLimit);

  DeviceState& m_State;
  HostSink& m_Sink;
  ReceiveBuffer& m_Buffer;
  ReaderPort m_Port;
  // Guarded by the state lock.
  Backlog m_Backlog = Backlog::LineEnd;
  OwedAnswers m_Owed;
  LineEnds m_LineEnds;
  bool m_bExchanging = false;
  bool m_bClaimed = false;
  std::vector<std::string> m_Waiting;
};

}  // namespace photometer
