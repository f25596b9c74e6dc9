/// One serial port of the device with the thread that reads it.
///
/// A reader keeps the handle with which it was started. It ends when the device stops, when the port is closed, when
/// reads fail, or when the port has been opened anew, or in vain, meanwhile; in the last two cases the port is lost,
/// and the reader closes its handle. Each handle is closed once, by whoever comes first, and not while another thread
/// writes to it; a write that does not come back within 0.1 s is broken off.
///
/// **Threads**: everything may be called from any thread; `Open` from one at a time. Nothing takes the state lock
/// across a call of the port: call it without the lock.
#pragma once

#include <atomic>
#include <functional>
#include <string_view>
#include <vector>

#include "state/DeviceState.h"
#include "state/WorkerThreads.h"

namespace photometer {

/// One stop bit, parity errors are not checked.
struct LineSettings {
  DWORD dwBaudRate;
  /// 5 to 8.
  DWORD dwByteSize;
  /// 0 none, 1 odd, 2 even.
  DWORD dwParity;
};

/// What became of a write.
enum class PortWrite {
  Written,
  /// The line takes nothing: the write failed, or the port is lost.
  Failed,
  /// The port is not open, or the device has closed it meanwhile.
  Closed
};

/// What a port's reader does. All is called on its thread, without a lock.
struct PortReader {
  /// Of the thread, in reports.
  const char* name;
  /// So many failed reads in a row mean that the port is gone; 0.1 s lies between two.
  int iFailedReadLimit = 3;
  /// The first call. May be empty.
  std::function<void()> onStart = nullptr;
  /// The bytes of a read that brought some.
  std::function<void(std::string_view bytes)> onBlock;
  /// The port is lost; it cannot be opened again before this returns. May be empty.
  std::function<void()> onLost = nullptr;
  /// The last call, with the handle closed if the port was lost.
  std::function<void(bool bLost)> onEnd;
};

class ReaderPort {
 public:
  ReaderPort(DeviceState& state, WorkerThreads& threads, const char16_t* name)
      : m_State(state), m_Threads(threads), m_strName(name) {}
  ~ReaderPort() { Close(); }
  ReaderPort(const ReaderPort&) = delete;
  ReaderPort& operator=(const ReaderPort&) = delete;

  /// Opens and sets the port up and starts its reader. False: a step failed, what was opened is closed again, and the
  /// port counts as lost; or the device stops, and nothing has changed. An open port cannot be opened again: it is
  /// lost.
  BOOL Open(const LineSettings& settings, PortReader reader);
  /// Closes the port. A waiting read ends, and the reader with it.
  void Close();
  /// Writes with one write call.
  PortWrite Write(std::string_view bytes);
  /// Gives the open port other settings. False: it is not open, or does not take them.
  BOOL Apply(const LineSettings& settings);

  [[nodiscard]] bool IsOpen() const { return IsUsable(m_hPort); }
  /// The last opening failed, or the port has gone since. Not lost is a port that was never opened, or was closed.
  [[nodiscard]] bool IsLost() const { return m_hPort == INVALID_HANDLE_VALUE; }

 private:
  class Use;

  static bool IsUsable(HANDLE hPort) { return hPort != 0 && hPort != INVALID_HANDLE_VALUE; }
  BOOL Configure(HANDLE hPort, const LineSettings& settings);
  /// The reader's thread.
  void Run(HANDLE hPort, const PortReader& reader);
  /// True: the reader was told to end. False: the port is lost.
  bool ReadBlocks(HANDLE hPort, const PortReader& reader);
  /// Marks the port lost, if it is still this one, and closes the handle.
  void GiveUp(HANDLE hPort);
  void CloseOnce(HANDLE hPort);
  /// Waits for the calls that use the port's handle now.
  void AwaitUses();

  DeviceState& m_State;
  WorkerThreads& m_Threads;
  const char16_t* m_strName;
  std::atomic<HANDLE> m_hPort{0};
  /// Handles that have yet to be closed. Guarded by the state lock.
  std::vector<HANDLE> m_Open;
  /// Calls that use a handle. Guarded by the state lock.
  int m_iUses = 0;
};

}  // namespace photometer
