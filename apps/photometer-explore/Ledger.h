/// What happened in a run, in its order: the host's calls, the library's threads, the callbacks, and what the board was
/// told. The properties are judged by it.
///
/// Noting is no scheduling point: a run is the same with and without a ledger.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "photometer/Records.h"
#include "platform/virtual/VirtualBoard.h"

namespace explorer {

using photometer::DWORD;
using photometer::LONG;

enum class EventKind : std::uint8_t {
  ThreadBegins,    ///< of the library. `name`; a: the host's call that made it, or `NoCall`
  ThreadEnds,      ///< `name`; a: 0 when the unit stands idle with its halogen lamp off
  CallBegins,      ///< of the host. `name`; a: number of the call; b: 1 in a callback
  CallEnds,        ///< `name`; a: number of the call; b: result
  Callback,        ///< `name`; a, b, c: its numbers
  Result,          ///< a: request id; b: first of its values in `Values`; c: their count
  PumpFailed,      ///< a: the pump's result
  ErrorRecord,     ///< a line for the error list
  OpticalCommand,  ///< written to the optical unit, or tried. a: letter, b: argument or -1; c: 1 written,
                   ///< and `Early` when the unit was still at an earlier command
  OpticalPort      ///< a: 1 opened, 0 closed
};

inline constexpr std::int64_t Early = 2;

struct Event {
  EventKind kind{};
  std::uint64_t nTime = 0;   ///< µs
  std::uint64_t nPoint = 0;  ///< scheduling points of the board so far
  DWORD dwThread = 0;
  std::string name;
  std::int64_t a = 0;
  std::int64_t b = 0;
  std::int64_t c = 0;
};

/// A property that was seen broken while the run was going on.
struct Violation {
  std::string property;
  std::string text;
};

class Ledger {
 public:
  static constexpr std::int64_t NoCall = -1;

  /// Times, points and threads are the board's, which must outlive it.
  explicit Ledger(photometer::platform::VirtualBoard& board) : m_board(board) {}

  void Note(EventKind kind, std::string_view name, std::int64_t a = 0, std::int64_t b = 0, std::int64_t c = 0);
  /// Of another thread than the calling one.
  void NoteThread(DWORD dwThread, std::string_view name);
  void NoteResult(DWORD dwRequestId, const photometer::MeasureValues& values);
  void NoteViolation(std::string_view property, const std::string& text);

  /// A call of the host begins on this thread; its number.
  std::int64_t BeginCall(std::string_view name, bool bInCallback);
  void EndCall(std::int64_t nCall, std::string_view name, std::int64_t nResult);

  /// `Shutdown` or the last `Release` is being called: no callback may begin.
  void ForbidCallbacks();
  void AllowCallbacks();
  [[nodiscard]] bool CallbacksForbidden() const { return m_bForbidden; }

  [[nodiscard]] const std::vector<Event>& Events() const { return m_events; }
  /// How often a callback was made.
  [[nodiscard]] std::size_t Called(std::string_view callback) const;
  [[nodiscard]] const photometer::MeasureValues& Values() const { return m_values; }
  [[nodiscard]] const std::vector<Violation>& Violations() const { return m_violations; }
  /// Over all events and values.
  [[nodiscard]] std::uint64_t Hash() const { return m_nHash; }
  /// Now, µs.
  [[nodiscard]] std::uint64_t Now() const { return m_board.Now(); }

 private:
  [[nodiscard]] DWORD CurrentThread() const { return m_board.GetKernel().GetCurrentThreadId(); }
  void Keep(Event event);
  void Mix(std::uint64_t nValue) { m_nHash = (m_nHash ^ nValue) * 0x100000001B3U; }

  photometer::platform::VirtualBoard& m_board;
  std::vector<Event> m_events;
  photometer::MeasureValues m_values;
  std::vector<Violation> m_violations;
  std::map<DWORD, std::vector<std::int64_t>> m_openCalls;
  std::int64_t m_nCalls = 0;
  bool m_bForbidden = false;
  std::uint64_t m_nHash = 0xCBF29CE484222325U;
};

}  // namespace explorer
