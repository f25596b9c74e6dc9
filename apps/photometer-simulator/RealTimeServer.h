/// Serves an instrument's model in real time: bytes between pseudo-terminals and what is at its three ports, the
/// holder's switches into the pins' files, and a person's commands.
///
/// Sleeps until the model has something to do, bytes arrive, or a signal comes; no thread, no polling.
#pragma once

#include <array>
#include <cstdint>
#include <sstream>
#include <string>
#include <string_view>

#include "BoardFolder.h"
#include "PseudoTerminal.h"
#include "StopSignals.h"
#include "simulator/Instrument.h"

namespace serving {

/// The lines of the instrument's ports.
struct Lines {
  PseudoTerminal external;
  PseudoTerminal optical;
  PseudoTerminal sipper;
};

class RealTimeServer {
 public:
  /// `dSpeed`: how many times faster than real the model goes. All must outlive it.
  RealTimeServer(simulator::Instrument& instrument, Lines& lines, BoardFolder& folder, double dSpeed);

  /// The model's time.
  [[nodiscard]] simulator::Time Now() const;
  /// Carries out the lines that come from this descriptor: see `Commands`.
  void TakeCommandsFrom(int iDescriptor) { m_iCommands = iDescriptor; }
  /// A sample goes into the holder, in a cuvette of this size, mm; with a pump, the flow cuvette goes into the holder,
  /// and its tube into the sample.
  void Insert(int iSize, const simulator::Sample& sample, simulator::Time at);

  /// What `insert` without a name puts in.
  void SetSample(const simulator::Sample& sample) { m_sample = sample; }

  /// Serves until a signal to end has come, or `quit` is commanded.
  void Serve(const StopSignals& signals);

  /// Range of the speed.
  static constexpr double SlowestSpeed = 0.1;
  static constexpr double HighestSpeed = 100;
  /// What a person says behind the command's name; returns what is wrong, empty: done.
  using Action = std::string (RealTimeServer::*)(std::istringstream& words, simulator::Time now);
  /// A command for a person; its form begins with its name.
  struct CommandForm {
    std::string_view form;
    std::string_view meaning;
    Action act;
  };
  static const std::array<CommandForm, 8> Commands;

 private:
  /// A device at a port.
  struct Served {
    simulator::SerialDevice& device;
    PseudoTerminal& line;
    /// More bytes than this that no host reads are lost, as on a line without a listener.
    std::size_t nLimit;
    /// What the line has not taken yet.
    std::string strOutput = {};
  };

  [[nodiscard]] simulator::Time NextActivity() const;
  void Wait(simulator::Time until, const sigset_t& unblocked);
  void Step(simulator::Time now);
  static void PassOutput(Served& served, simulator::Time now);
  void WritePins(simulator::Time now);
  void TakeCommands(simulator::Time now);

  std::string Command(const std::string& line, simulator::Time now);
  std::string Insert(std::istringstream& words, simulator::Time now);
  std::string Offer(std::istringstream& words, simulator::Time now);
  std::string PressKey(std::istringstream& words, simulator::Time now);
  std::string Say(std::istringstream& words, simulator::Time now);
  std::string SetSpeed(std::istringstream& words, simulator::Time now);
  std::string PrintState(std::istringstream& words, simulator::Time now);
  std::string Remove(std::istringstream& words, simulator::Time now);
  std::string Quit(std::istringstream& words, simulator::Time now);
  void WatchPins(simulator::Time from);

  simulator::Instrument& m_instrument;
  std::array<Served, 3> m_Served;
  BoardFolder& m_folder;
  double m_dSpeed;
  simulator::Sample m_sample;
  /// The model's time when it was last given a speed, and the system's monotonic time then, µs.
  simulator::Time m_Start = 0;
  std::uint64_t m_nStart;
  int m_iCommands = -1;
  std::string m_strCommands;
  /// Levels in the files; when to look at the switches next, and until when they may move.
  std::array<std::uint32_t, simulator::CuvetteHolder::PinCount> m_Levels{};
  simulator::Time m_nNextPins = simulator::Never;
  simulator::Time m_nPinsUntil = 0;
  bool m_bCommandsReady = false;
  bool m_bQuit = false;
};

}  // namespace serving
