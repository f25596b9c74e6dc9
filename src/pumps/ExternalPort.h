/// The external RS-232 port "COM1:": the pump ZQ-410 in operating mode 1, in the other modes passed through to the
/// host.
///
/// **Pass-through**: each block that arrives goes to `OnExternalPortData`; what the host writes into the reply is sent
/// back as it is. **ZQ-410**: the reader answers the pump's keep-alive at once, keeps version and acknowledgement, and
/// reports the pump's keys. The timer's supervision sends the parameters each second until they are acknowledged, asks
/// once for the version, and notices the loss of the pump: more than 3.5 s without a sign of life.
///
/// Callbacks are made by the reader's and the timer's thread, without the state lock.
#pragma once

#include <string>
#include <string_view>

#include "pumps/PumpLine.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"
#include "state/ReceiveBuffer.h"
#include "state/WorkerThreads.h"

namespace photometer {

/// The parameter command without start and end byte, "H;005;120".
std::string PumpParameterText(DWORD dwPumpTime, DWORD dwPumpParam2);

class ExternalPort {
 public:
  ExternalPort(DeviceState& state, HostSink& sink, ReceiveBuffer& buffer, WorkerThreads& threads)
      : m_State(state), m_Sink(sink), m_Line(state, threads, buffer, u"COM1:", "external port") {}

  /// Opens the port with the settings of the present operating mode and starts its reader. 0: a step failed.
  BOOL OpenExternalPort();
  void CloseExternalPort() { m_Line.Port().Close(); }

  /// Stores the settings and gives them to the port. Always 0.
  HRESULT SetExternalPortSettings(DWORD dwBaudRate, DWORD dwByteSize, DWORD dwParity);
  /// Gives the stored settings to the port again, or the pump's when the device was initialised for the ZQ-410. Always
  /// 0.
  HRESULT ResetExternalPortSettings();
  /// Writes the host's bytes. E_FAIL while the start-up runs; a failed write is not reported.
  HRESULT WriteExternalPort(std::string_view bytes);

  /// The timer's step each second in mode 1 while a pump is detected. Nothing is asked while an exchange owns the line:
  /// the exchange would take the answer for its own.
  void SuperviseZQ410();

  [[nodiscard]] PumpLine& Line() { return m_Line; }

 private:
  void TakeBlock(std::string_view bytes, FrameReader* pFrames);
  void PassThrough(const std::string& bytes);
  void TakeFrames(FrameReader* pFrames);
  void TakeFrame(const std::string& frame);
  void AnswerKeepAlive();
  void TakeVersion(const std::string& frame);
  void ReportCycle();
  void NoteZQ410Contact();
  /// What to ask the pump for now: its parameters' acknowledgement, then its version; empty: nothing.
  std::string NextQuestion();
  /// Clears what is known of the pump, if it has been silent for too long. True: it has just been lost.
  bool ForgetIfSilent();

  DeviceState& m_State;
  HostSink& m_Sink;
  PumpLine m_Line;
};

}  // namespace photometer
