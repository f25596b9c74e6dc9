#include "state/ReceiveBuffer.h"

namespace photometer {

BOOL ReceiveBuffer::CreateDataEvent() {
  m_hDataEvent = CreateEventW(FALSE, FALSE, nullptr);
  const auto state = m_State.Lock();
  m_bDropReported = false;
  return m_hDataEvent != 0 ? TRUE : FALSE;
}

void ReceiveBuffer::CloseDataEvent() {
  const auto state = m_State.Lock();
  if (const HANDLE hEvent = m_hDataEvent.exchange(0); hEvent != 0) {
    CloseHandle(hEvent);
  }
}

bool ReceiveBuffer::Append(std::string_view bytes) {
  const auto state = m_State.Lock();
  m_strReceived += bytes;
  if (m_strReceived.size() <= CAPACITY) {
    return false;
  }
  // A quarter is dropped at once: a flood must not move the whole buffer for each block.
  m_strReceived.erase(0, m_strReceived.size() - CAPACITY + CAPACITY / 4);
  m_bOverflowed = true;
  const bool bFirstDrop = !m_bDropReported;
  m_bDropReported = true;
  return bFirstDrop;
}

void ReceiveBuffer::Signal() {
  const auto state = m_State.Lock();
  if (const HANDLE hEvent = m_hDataEvent; hEvent != 0) {
    SetEvent(hEvent);
  }
}

void ReceiveBuffer::CollectReceived(std::string& reply) {
  const auto state = m_State.Lock();
  reply += m_strReceived;
  m_strReceived.clear();
}

void ReceiveBuffer::Clear() {
  const auto state = m_State.Lock();
  m_strReceived.clear();
  m_bOverflowed = false;
  if (const HANDLE hEvent = m_hDataEvent; hEvent != 0) {
    ResetEvent(hEvent);
  }
}

bool ReceiveBuffer::Overflowed() {
  const auto state = m_State.Lock();
  return m_bOverflowed;
}

void ReceiveBuffer::SetCapture(bool bCapture) {
  const auto state = m_State.Lock();
  if (m_bCapture == bCapture) {
    return;
  }
  m_bCapture = bCapture;
  if (bCapture) {
    ++state->m_dwPumpCaptures;
  } else {
    --state->m_dwPumpCaptures;
  }
  state->m_PumpInfo.m_bPumpCapture = state->m_dwPumpCaptures != 0 ? TRUE : FALSE;
}

bool ReceiveBuffer::IsCapturing() {
  const auto state = m_State.Lock();
  return m_bCapture;
}

}  // namespace photometer
