#include "PumpCaller.h"

#include "platform/Platform.h"

namespace host {

namespace {

constexpr DWORD CallInterval = 1000;  // ms

}  // namespace

PumpCaller::PumpCaller(const InstrumentOptions& instrument, photometer::IPhotometer& device)
    : m_device(device),
      m_bNeeded(instrument.HasZQ420()),
      m_dwLastCall(photometer::platform::GetTickCount() - CallInterval) {
  if (m_bNeeded && device.GetStatus().bSipperDetected != 0) {
    device.RequestSipperData();
  }
}

void PumpCaller::Call() {
  const DWORD dwNow = photometer::platform::GetTickCount();
  if (m_bNeeded && dwNow - m_dwLastCall >= CallInterval && m_device.GetStatus().bSipperDetected == 0) {
    m_dwLastCall = dwNow;
    m_device.SendSipperPing();
  }
}

void PumpCaller::Hear(const HostEvent& event) {
  const auto* pConnection = std::get_if<PumpConnection>(&event);
  const auto* pSignal = std::get_if<Signal>(&event);
  if (m_bNeeded && pConnection != nullptr && pConnection->bConnected) {
    m_device.RequestSipperData();
  } else if (m_bNeeded && pSignal != nullptr && *pSignal == Signal::PumpPortLost) {
    m_device.OpenSipperPort();
  }
}

}  // namespace host
