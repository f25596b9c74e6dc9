/// The host's sink: keeps what the device tells until the host's own thread takes it, and notes it in a transcript.
///
/// Callbacks come from threads of the library and return at once. The lock and the event are the layer's, so that the
/// same code waits in virtual time too. A board must be set before it is made and until it is destroyed.
#pragma once

#include <atomic>
#include <string>
#include <vector>

#include "HostEvent.h"
#include "photometer/EmptySink.h"
#include "platform/Platform.h"
#include "platform/Transcript.h"

namespace host {

using photometer::BOOL;

class EventSink final : public photometer::EmptySink {
 public:
  /// The transcript (channel `sink`) may be null, else it must outlive the sink.
  explicit EventSink(photometer::platform::Transcript* pTranscript);
  ~EventSink();
  EventSink(const EventSink&) = delete;
  EventSink& operator=(const EventSink&) = delete;

  /// Waits at most so long, ms, for something to be there, and takes all of it, oldest first.
  std::vector<HostEvent> Take(DWORD dwMilliseconds);
  /// Warm-up time of the deuterium lamp's sessions, s; 0: the device's own.
  void SetLampWarmUpTime(DWORD dwSeconds) { m_dwLampWarmUpTime = dwSeconds; }

  void OnNotify(DWORD dwRequestId, DWORD dwCode, DWORD dwValue) override;
  void OnResult(DWORD dwRequestId, const photometer::MeasureValues* pValues) override;
  void OnCuvetteChanged(LONG iCuvetteSize) override;
  void OnError(DWORD dwRequestId, DWORD dwError) override;
  void OnDelayCountdown(DWORD dwRequestId, DWORD dwSeconds) override;
  void OnSystemCheckStatus(const photometer::SystemCheckStatus* pStatus) override;
  void OnReferenceValues(const std::vector<photometer::WavelengthCalibrationEntry>* pValues) override;
  void OnPumpError(DWORD dwRequestId, DWORD dwError) override;
  void OnLampSwitching(BOOL bSwitching) override;
  void OnWarmUpCountdown(DWORD dwSeconds) override;
  photometer::DWORD QueryCuvetteWait() override;
  void OnExternalPortData(const char* pData, DWORD dwLength, std::string* pReply) override;
  void OnWavelengthCheckDue() override;
  void OnSipperKeyA() override;
  void OnSipperKeyB() override;
  void OnSipperPortLost() override;
  void OnSipperCycleDone() override;
  void OnSipperInfoChanged() override;
  void OnSipperConnectionChanged(BOOL bConnected) override;
  void OnFlushCompleted() override;
  void OnUVLampReady(BOOL bReady) override;
  void GetUVLampWarmUpTime(DWORD* pSeconds) override;

 private:
  void Keep(HostEvent event);
  void Note(const std::string& text) const;

  photometer::platform::Transcript* m_pTranscript;
  /// Signalled when something was kept.
  photometer::platform::HANDLE m_hKept;
  photometer::platform::CRITICAL_SECTION m_csEvents;
  std::vector<HostEvent> m_Events;
  std::atomic<DWORD> m_dwLampWarmUpTime{0};
};

}  // namespace host
