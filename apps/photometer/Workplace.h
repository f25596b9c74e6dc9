/// An instrument in use: board, progress and session, by one command or by all commands of a shell or script.
///
/// Used by one thread. Only one may exist at a time: its board is the layer's current board.
#pragma once

#include <memory>
#include <optional>
#include <string>

#include "BoardOptions.h"
#include "Command.h"
#include "HostBoard.h"
#include "InstrumentOptions.h"
#include "Progress.h"
#include "Session.h"
#include "TraceHead.h"

namespace host {

/// What a command has while the instrument is on.
struct Bench {
  Console& console;
  Progress& progress;
  HostBoard& board;
  Session& session;
};

class Workplace {
 public:
  /// The options have been checked.
  Workplace(BoardOptions board, InstrumentOptions instrument)
      : m_boardOptions(std::move(board)), m_instrumentOptions(std::move(instrument)) {}

  /// Makes the board, which must have this port, if one is given, beside the optical unit's; or takes that of a replay.
  /// False, with a message: nothing was started.
  bool Open(Console& console, const std::optional<BoardPort>& port = std::nullopt);
  /// Makes the device, if that has not been done. False, with a message: there is none.
  bool MakeSession(Console& console);
  /// Only after `MakeSession`.
  [[nodiscard]] Bench BenchFor(Console& console) { return {console, *m_progress, m_board, *m_session}; }
  /// Starts the instrument up when it is off. An instrument that is on has passed, or its start-up's end is told again.
  RunEnd StartUp(AfterFailure after);
  /// Notes in the trace that a line of a shell or script begins.
  void NoteLine(const std::string& name, const TracedOptions& call);
  /// Notes that there are no more of them, or, in a replay, waits until there are none. The code, or, in a replay, the
  /// recorded one: a line that is not in the trace may have decided it.
  ExitCode EndLines(Console& console, ExitCode code);
  /// Switches the instrument off and gives the device back.
  void EndSession();
  /// After `EndSession`: tells faults of the board and ends the transcript. The code, or a worse one.
  ExitCode Close(Console& console, ExitCode code);

  [[nodiscard]] const BoardOptions& Board() const { return m_boardOptions; }
  [[nodiscard]] const InstrumentOptions& Instrument() const { return m_instrumentOptions; }
  /// As `InstrumentOptions::AddZero`, for the next start-up.
  void AddZero(double dWavelength) { m_instrumentOptions.AddZero(dWavelength); }
  /// What the device has been given.
  void SetPumpParameters(photometer::DWORD dwPumpTime, photometer::DWORD dwPumpParam2) {
    m_instrumentOptions.SetPumpParameters(dwPumpTime, dwPumpParam2);
  }
  /// Board, for the results.
  [[nodiscard]] const std::string& Description() const { return m_board.Description(); }

 private:
  BoardOptions m_boardOptions;
  InstrumentOptions m_instrumentOptions;
  HostBoard m_board;
  std::unique_ptr<Progress> m_progress;
  std::unique_ptr<Session> m_session;
  RunEnd m_startUpEnd;
};

}  // namespace host
