/// Both pump ports without a device: state, sink, ports and pump operations, with the simulated pumps plugged in, and a
/// thread that supervises the attached pump each second as the timer does.
#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "monitors/CuvetteHolder.h"
#include "procedures/Flush.h"
#include "pumps/ExternalPort.h"
#include "pumps/Pumps.h"
#include "pumps/SipperPort.h"
#include "simulator/SipperZQ410.h"
#include "simulator/SipperZQ420.h"
#include "support/Optics.h"

namespace photometer::tests {

using Texts = std::vector<std::string>;

/// Records the callbacks about pumps, too.
class PumpSink final : public RecordingSink {
 public:
  using RecordingSink::RecordingSink;
  /// The host's answer to bytes on the external port.
  void SetReply(const std::string& reply) {
    const std::lock_guard lock(m_Mutex);
    m_strReply = reply;
  }

  void OnSipperKeyA() override { Enter("KeyA"); }
  void OnSipperKeyB() override { Enter("KeyB"); }
  void OnDelayCountdown(DWORD dwId, DWORD dwSeconds) override { Enter("Countdown", dwId, dwSeconds); }
  void OnExternalPortData(const char* pData, DWORD dwLength, std::string* pReply) override {
    Enter("Data " + std::string(pData, dwLength));
    const std::lock_guard lock(m_Mutex);
    *pReply = m_strReply;
  }
  void OnSipperPortLost() override { Enter("PortLost"); }
  void OnSipperTick() override { Enter("Tick"); }
  void OnSipperCycleDone() override { Enter("CycleDone"); }
  void OnSipperInfoChanged() override { Enter("Info"); }
  void OnPumpError(DWORD dwId, DWORD dwError) override { Enter("PumpError", dwId, dwError); }
  void OnFlushCompleted() override { Enter("Flushed"); }
  void OnSipperConnectionChanged(BOOL bConnected) override { Enter(bConnected ? "Connected" : "Lost"); }
  void QueryPumpProgram(DWORD dwProgram, DWORD* pTime, DWORD* pParam2, DWORD* pDelay) override {
    Enter("Program " + std::to_string(dwProgram));
    *pTime = 3;
    *pParam2 = *pDelay = 1;
  }

 private:
  using RecordingSink::Enter;
  void Enter(const std::string& text, DWORD dwFirst, DWORD dwSecond) {
    Enter(text + " " + std::to_string(dwFirst) + " " + std::to_string(dwSecond));
  }

  std::mutex m_Mutex;
  std::string m_strReply;
};

/// Notes the settings that ports are given, "19200 8 0".
class SettingsPorts final : public platform::ForwardingSerialPorts {
 public:
  using ForwardingSerialPorts::ForwardingSerialPorts;
  Texts settings;

  bool SetState(platform::HANDLE handle, const platform::DCB& state) override {
    EXPECT_EQ(state.DCBlength, 28U);
    EXPECT_EQ(state.Flags & 2U, 0U);
    EXPECT_EQ(state.StopBits, 0U);
    settings.push_back(std::to_string(state.BaudRate) + " " + std::to_string(state.ByteSize) + " " +
                       std::to_string(state.Parity));
    return ForwardingSerialPorts::SetState(handle, state);
  }
};

class PumpBench : public Optics {
 public:
  static constexpr const char16_t* EXTERNAL = u"COM1:";
  static constexpr const char16_t* SIPPER = u"COM6:";

  /// With open ports, a flow cuvette inserted, and pumps that announce nothing by themselves.
  explicit PumpBench(LONG iMode, platform::VirtualBoardOptions options = {});
  /// Stops, and expects that the world is clean.
  ~PumpBench();
  PumpBench(const PumpBench&) = delete;
  PumpBench& operator=(const PumpBench&) = delete;

  /// Stops the threads and gives back everything; done once.
  void Stop();
  /// The pump's contact and detection, without waiting for its keep-alive.
  void Detect();
  /// From now on the attached pump is supervised each second.
  void StartTimer();
  /// `action` on another thread, after a time, ms.
  void After(DWORD dwMilliseconds, std::function<void()> action);
  void Cancel();
  void ForgetCancel();
  /// The faults of the attached pump.
  void Faults(const std::vector<simulator::Fault>& faults);
  /// The host's calls so far; those that come later are a new list.
  Texts TakeCalls();
  /// The attached pump says this each second, so many times from now on.
  void Chatter(const std::string& bytes, simulator::Time nTimes);
  /// Lets the device at the external port, or at the sipper's, say something now, and waits until it has arrived.
  void Say(const std::string& bytes);
  [[nodiscard]] PumpInfo Info() { return state.Lock()->m_PumpInfo; }
  [[nodiscard]] BOOL Detected() { return state.Lock()->m_Status.bSipperDetected; }
  /// Texts of the frames that the pump has received.
  [[nodiscard]] Texts Frames() const;
  [[nodiscard]] std::uint64_t NowMs() const { return world.board.Now() / 1000; }
  [[nodiscard]] simulator::SipperLine& Line() {
    return m_iMode == MODE_ZQ_410 || m_iMode == 0 ? zq410.Line() : zq420.Line();
  }
  [[nodiscard]] const simulator::SipperLine& Line() const { return const_cast<PumpBench*>(this)->Line(); }

  simulator::SipperZQ410 zq410;
  simulator::SipperZQ420 zq420;
  SettingsPorts ports;

 private:
  platform::ForwardingBoard m_Board;

 public:
  PumpSink host{world.board, world.transcript};
  ReceiveBuffer externalBuffer{state};
  ReceiveBuffer sipperBuffer{state};
  CuvetteHolder cuvette{state, sink};
  ExternalPort external{state, sink, externalBuffer, threads};
  SipperPort sipper{state, sink, sipperBuffer, threads};
  Pumps pumps{state, sink, threads, link, external, sipper, cuvette};
  Flush flush{state, sink, threads, external, pumps};

 private:
  LONG m_iMode;
  bool m_bStopped = false;
};

}  // namespace photometer::tests
