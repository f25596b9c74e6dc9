/// A board with a small world around it, for the tests that every board must pass.
///
/// The world: a port "COM2:" whose reads end by the time-outs, a port "COM1:" whose reads end with the first bytes, a
/// folder "\NANDFlash", no card ("\SDMemory" does not exist), input pins 10 to 12 of port 3 at level 0, and a registry
/// key "\Veltranometrik" with the value "HalLamp" 5.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "platform/Board.h"

/// The far end of a serial line.
class SerialPeer {
 public:
  virtual ~SerialPeer() = default;
  virtual void Send(std::string_view bytes) = 0;
  /// Lets time pass until so many bytes have arrived (10 s at most), and takes all.
  virtual std::string Receive(std::size_t nBytes) = 0;
  /// The device vanishes.
  virtual void HangUp() = 0;
};

class BoardUnderTest {
 public:
  virtual ~BoardUnderTest() = default;
  virtual photometer::platform::Board& GetBoard() = 0;
  virtual SerialPeer& Peer() = 0;
  virtual SerialPeer& AtOncePeer() = 0;
  virtual void SetPin(photometer::DWORD dwPin, photometer::DWORD dwLevel) = 0;
  /// Writing below the folder fails from now on, or no longer.
  virtual void SetDiskFull(const std::u16string& folder, bool bFull) = 0;
  /// What the debug output has received.
  virtual std::string DebugText() = 0;
};

/// Makes a board whose tick counter starts there.
struct BoardFactory {
  const char* name;
  std::unique_ptr<BoardUnderTest> (*make)(photometer::DWORD dwStartTick);
};

/// The boards that the tests run on. Each board's file adds its own before the program's main function begins.
inline std::vector<BoardFactory>& BoardFactories() {
  static std::vector<BoardFactory> s_factories;
  return s_factories;
}

struct AddBoard {
  explicit AddBoard(const BoardFactory& factory) { BoardFactories().push_back(factory); }
};
