/// The board that a command runs on, from the options: a simulated instrument or the ports of a board file, with a
/// tracing board around it when a transcript is wanted; or that of a replay. While it lives it is the layer's current
/// board.
#pragma once

#include <fstream>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "BoardOptions.h"
#include "InstrumentOptions.h"
#include "ReplayBoard.h"
#include "SimulatedInstrument.h"
#include "platform/TracingBoard.h"
#include "platform/posix/PosixBoard.h"

namespace host {

/// A serial port beside the optical unit's.
struct BoardPort {
  /// For the layer.
  const char16_t* name;
  /// In the board file.
  const char* key;
  const char* what;
};
inline constexpr BoardPort ExternalPort{u"COM1:", "COM1", "the external port"};
inline constexpr BoardPort SipperPort{u"COM6:", "COM6", "the pump ZQ-420"};

class HostBoard {
 public:
  HostBoard() = default;
  /// No device may exist any more.
  ~HostBoard();
  HostBoard(const HostBoard&) = delete;
  HostBoard& operator=(const HostBoard&) = delete;

  /// Makes the board and tries the optical unit's port and, if it is given, another one. Returns what is wrong: what,
  /// where and what to do; empty when the board stands.
  std::string Open(const BoardOptions& options, const InstrumentOptions& instrument,
                   const std::optional<BoardPort>& port = std::nullopt);
  /// Takes the board of a replay, which must outlive it.
  void Take(ReplayBoard& replay);

  /// "simulated" with what was asked for, the board file, or "replay".
  [[nodiscard]] const std::string& Description() const { return m_strDescription; }
  /// Null without a trace file or replay.
  photometer::platform::Transcript* Transcript();
  /// Notes it in the channel of the program itself.
  void Note(const std::string& text);
  /// Null on real ports and in a replay.
  SimulatedInstrument* Simulated() { return m_pSimulated.get(); }
  /// What went wrong on the virtual board; to be asked when the device is gone.
  [[nodiscard]] std::vector<std::string> Faults() const;
  /// Ends the transcript and gives its file the name that was asked for. False: it could not be written in full, or
  /// another file has come there meanwhile.
  bool CloseTrace();

 private:
  std::string OpenSimulated(const BoardOptions& options, const photometer::PhotometerParameters& params);
  std::string OpenReal(const BoardOptions& options, const std::optional<BoardPort>& port);
  std::string OpenTrace(const BoardOptions& options);
  void NoteHead(const BoardOptions& options, const InstrumentOptions& instrument);
  /// Where a transcript grows: one of a run that the process did not survive is worth reading too.
  [[nodiscard]] std::string TracePart() const { return m_strTracePath + ".part"; }
  /// From now on everything on the current board is noted.
  void Trace(photometer::platform::Transcript& transcript);
  void ListPorts(const photometer::platform::BoardFile& file);
  void MakeCurrent(photometer::platform::Board& board);
  static std::string TryPort(const photometer::platform::BoardFile& file, const BoardPort& port);

  std::string m_strDescription;
  /// Those that can be opened, "COM2".
  std::vector<std::string> m_ports;
  ReplayBoard* m_pReplay = nullptr;
  std::string m_strTracePath;
  bool m_bForceTrace = false;
  std::ofstream m_trace;
  photometer::platform::Transcript m_transcript;
  std::unique_ptr<SimulatedInstrument> m_pSimulated;
  std::unique_ptr<photometer::platform::PosixBoard> m_pPosixBoard;
  std::unique_ptr<photometer::platform::TracingBoard> m_pTracingBoard;
  photometer::platform::Board* m_pBefore = nullptr;
  bool m_bCurrent = false;
};

}  // namespace host
