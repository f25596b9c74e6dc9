/// The line to a pump: its port, and what the port's reader and the exchanges share.
///
/// While an exchange captures, the reader hands it all bytes; else the reader looks for frames itself. One exchange
/// owns the line at a time (`PumpExchange`). An exchange that ended without its answer leaves the line with a backlog:
/// the next one waits until nothing has come for a while, so that no late answer is taken for its own.
#pragma once

#include <atomic>
#include <string_view>

#include "pumps/FrameReader.h"
#include "state/DeviceState.h"
#include "state/ReaderPort.h"
#include "state/ReceiveBuffer.h"

namespace photometer {

/// Operating modes with a pump; all others pass the external port through to the host.
inline constexpr LONG MODE_ZQ_410 = 1;
inline constexpr LONG MODE_ZQ_420 = 2;

/// What both pumps speak: 19200 baud, 8 data bits, no parity.
inline constexpr LineSettings PUMP_LINE{19200, 8, NOPARITY};

/// The external port's settings of the parameters, or the pump's.
inline LineSettings PortSettings(const PhotometerParameters& params, bool bPump) {
  return bPump ? PUMP_LINE : LineSettings{params.dwBaudRate, params.dwByteSize, params.dwParity};
}

class PumpLine {
 public:
  /// `label` names the port in the log.
  PumpLine(DeviceState& state, WorkerThreads& threads, ReceiveBuffer& buffer, const char16_t* port, const char* label)
      : m_State(state), m_Buffer(buffer), m_Port(state, threads, port), m_strLabel(label) {}

  [[nodiscard]] ReaderPort& Port() { return m_Port; }
  /// Writes with one write call.
  BOOL Write(std::string_view bytes);
  BOOL WriteFramed(std::string_view text) { return Write(Framed(text)); }

  /// The reader's: gives a block to the exchange that captures, or else to the reader's own frames. True: an exchange
  /// has it.
  bool TakeBlock(std::string_view bytes, FrameReader* pFrames);
  /// What comes from now on is for the reader, though an exchange may still wait: it has ended, or the pump was lost.
  void StopCapture() { m_Buffer.SetCapture(false); }
  /// An exchange owns the line. State lock.
  [[nodiscard]] bool IsClaimed();
  /// Bytes were dropped: said once by whoever collects them.
  void LogDrop();

 private:
  friend class PumpExchange;

  bool Claim();
  void ReleaseClaim();
  /// Waits, after an exchange without its answer, until no byte has moved for a while.
  void WaitUntilQuiet();

  DeviceState& m_State;
  ReceiveBuffer& m_Buffer;
  ReaderPort m_Port;
  const char* m_strLabel;
  /// When a byte was last written or read.
  std::atomic<DWORD> m_dwTrafficTick{0};
  std::atomic<bool> m_bBacklog{false};
  /// Guarded by the state lock.
  bool m_bClaimed = false;
};

}  // namespace photometer
