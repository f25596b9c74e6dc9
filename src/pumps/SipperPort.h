/// The pump ZQ-420 on its own port "COM6:".
///
/// The host asks (`SendSipperPing`, `RequestSipperData`, `RequestSipperRunTime`), the reader keeps the answers: the
/// first ping answer marks the pump detected. A failed read loses the port for good; the supervision then reports it
/// each second until the host opens the port again and the pump answers. A new opening of an open port fails, and loses
/// it.
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

class SipperPort {
 public:
  SipperPort(DeviceState& state, HostSink& sink, ReceiveBuffer& buffer, WorkerThreads& threads)
      : m_State(state), m_Sink(sink), m_Line(state, threads, buffer, u"COM6:", "sipper port") {}

  /// Opens the port with the settings of the present operating mode, starts its reader, and stops a pump that was left
  /// running. 1: open. Not from two threads at once.
  LONG OpenSipperPort();
  void CloseSipperPort() { m_Line.Port().Close(); }

  void SendSipperPing() { m_Line.WriteFramed("p"); }
  void RequestSipperRunTime() { m_Line.WriteFramed("t"); }
  /// Asks for the data while they are unknown, then for the running time while that is unknown.
  void RequestSipperData();

  /// The timer's step each second in mode 2: one of `OnSipperPortLost`, `OnSipperCycleDone`, `OnSipperTick`.
  void SuperviseZQ420();

  [[nodiscard]] PumpLine& Line() { return m_Line; }

 private:
  BOOL ConfigureSipperPort();
  void TakeFrame(const std::string& frame);
  void NoteDetected();
  void TakeData(const std::string& frame);
  void TakeRunTime(const std::string& frame);
  void ForgetPump();
  void EndReader(bool bLost);

  DeviceState& m_State;
  HostSink& m_Sink;
  PumpLine m_Line;
};

}  // namespace photometer
