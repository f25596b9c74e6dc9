#include "EventSink.h"

#include <iterator>
#include <utility>

#include <fmt/format.h>

namespace host {

namespace layer = photometer::platform;

namespace {

// Nobody may take what is told while a shell waits for a line; a run's events are taken at once.
constexpr std::ptrdiff_t MostEvents = 10'000;

}  // namespace

EventSink::EventSink(layer::Transcript* pTranscript)
    : m_pTranscript(pTranscript), m_hKept(layer::CreateEventW(photometer::FALSE, photometer::FALSE, nullptr)) {
  layer::InitializeCriticalSection(&m_csEvents, "host events");
}

EventSink::~EventSink() {
  layer::DeleteCriticalSection(&m_csEvents);
  layer::CloseHandle(m_hKept);
}

std::vector<HostEvent> EventSink::Take(DWORD dwMilliseconds) {
  if (layer::WaitForSingleObject(m_hKept, dwMilliseconds) == layer::WAIT_FAILED) {
    // Without an event the wait would not wait: the caller's loop must not spin.
    layer::Sleep(dwMilliseconds);
  }
  layer::EnterCriticalSection(&m_csEvents);
  std::vector<HostEvent> events = std::exchange(m_Events, {});
  layer::LeaveCriticalSection(&m_csEvents);
  return events;
}

void EventSink::Keep(HostEvent event) {
  layer::EnterCriticalSection(&m_csEvents);
  if (std::ssize(m_Events) >= MostEvents) {
    m_Events.erase(m_Events.begin(), m_Events.begin() + MostEvents / 2);
  }
  m_Events.push_back(std::move(event));
  layer::LeaveCriticalSection(&m_csEvents);
  layer::SetEvent(m_hKept);
}

void EventSink::Note(const std::string& text) const {
  if (m_pTranscript != nullptr) {
    m_pTranscript->Note(layer::CurrentBoard().GetKernel().GetMicroseconds(), "sink", text);
  }
}

void EventSink::OnNotify(DWORD dwRequestId, DWORD dwCode, DWORD dwValue) {
  Note(fmt::format("OnNotify {} {} {}", dwRequestId, dwCode, dwValue));
  Keep(Notification{dwRequestId, dwCode, dwValue});
}

void EventSink::OnResult(DWORD dwRequestId, const photometer::MeasureValues* pValues) {
  for (const photometer::MeasureValue& value : *pValues) {
    Note(fmt::format("OnResult {} tag {} position {} wavelength {} value {} reference {}", dwRequestId, value.dwTag,
                     value.dwPosition, value.dWavelength, value.dValue, value.dValueRef));
  }
  Keep(Results{dwRequestId, *pValues});
}

void EventSink::OnCuvetteChanged(LONG iCuvetteSize) {
  Note(fmt::format("OnCuvetteChanged {}", iCuvetteSize));
  Keep(CuvetteChange{iCuvetteSize});
}

void EventSink::OnError(DWORD dwRequestId, DWORD dwError) {
  const LONG iNumber = static_cast<LONG>(dwError);
  Note(fmt::format("OnError {} {}", dwRequestId, iNumber));
  Keep(InstrumentError{dwRequestId, iNumber, false});
}

void EventSink::OnDelayCountdown(DWORD dwRequestId, DWORD dwSeconds) {
  Note(fmt::format("OnDelayCountdown {} {}", dwRequestId, dwSeconds));
  Keep(Countdown{CountdownKind::Settling, dwSeconds});
}

void EventSink::OnSystemCheckStatus(const photometer::SystemCheckStatus* pStatus) {
  const photometer::SystemCheckStatus& status = *pStatus;
  Note(fmt::format(
      "OnSystemCheckStatus lamps {} halogen {} uv {} wavelength {} passed {} filters {} 1 {} 2 {} 3 {} 4 {} "
      "detectors {} passed {}",
      status.dwLampState, status.bHalogenLamp, status.bUVLamp, status.dwWavelengthState, status.bWavelength,
      status.dwFilterState, status.bFilter1, status.bFilter2, status.bFilter3, status.bFilter4, status.dwDetectorState,
      status.bDetectors));
  Keep(SystemCheckChange{status});
}

void EventSink::OnReferenceValues(const std::vector<photometer::WavelengthCalibrationEntry>* pValues) {
  for (const photometer::WavelengthCalibrationEntry& entry : *pValues) {
    Note(fmt::format("OnReferenceValues wavelength {} value {} reference {}", entry.dWavelength, entry.dValue,
                     entry.dValueRef));
  }
}

void EventSink::OnPumpError(DWORD dwRequestId, DWORD dwError) {
  const LONG iNumber = static_cast<LONG>(dwError);
  Note(fmt::format("OnPumpError {} {}", dwRequestId, iNumber));
  Keep(InstrumentError{dwRequestId, iNumber, true});
}

void EventSink::OnLampSwitching(BOOL bSwitching) { Note(fmt::format("OnLampSwitching {}", bSwitching)); }

void EventSink::OnWarmUpCountdown(DWORD dwSeconds) {
  Note(fmt::format("OnWarmUpCountdown {}", dwSeconds));
  Keep(Countdown{CountdownKind::WarmUp, dwSeconds});
}

photometer::DWORD EventSink::QueryCuvetteWait() {
  Note("QueryCuvetteWait");
  return 0;
}

void EventSink::OnExternalPortData(const char* pData, DWORD dwLength, std::string* /*pReply*/) {
  const std::string bytes(pData, dwLength);
  Note("OnExternalPortData " + layer::Printable(bytes));
  Keep(ExternalData{bytes});
}

void EventSink::OnWavelengthCheckDue() {
  Note("OnWavelengthCheckDue");
  Keep(Signal::CheckDue);
}

void EventSink::OnSipperKeyA() {
  Note("OnSipperKeyA");
  Keep(PumpKey{'A'});
}

void EventSink::OnSipperKeyB() {
  Note("OnSipperKeyB");
  Keep(PumpKey{'B'});
}

void EventSink::OnSipperPortLost() {
  Note("OnSipperPortLost");
  Keep(Signal::PumpPortLost);
}

void EventSink::OnSipperCycleDone() {
  Note("OnSipperCycleDone");
  Keep(Signal::PumpCycleDone);
}

void EventSink::OnSipperInfoChanged() {
  Note("OnSipperInfoChanged");
  Keep(Signal::PumpInfoChanged);
}

void EventSink::OnSipperConnectionChanged(BOOL bConnected) {
  Note(fmt::format("OnSipperConnectionChanged {}", bConnected));
  Keep(PumpConnection{bConnected != 0});
}

void EventSink::OnFlushCompleted() {
  Note("OnFlushCompleted");
  Keep(Signal::FlushCompleted);
}

void EventSink::OnUVLampReady(BOOL bReady) {
  Note(fmt::format("OnUVLampReady {}", bReady));
  Keep(LampChange{bReady != 0});
}

void EventSink::GetUVLampWarmUpTime(DWORD* pSeconds) {
  *pSeconds = m_dwLampWarmUpTime;
  Note(fmt::format("GetUVLampWarmUpTime {}", *pSeconds));
}

}  // namespace host
