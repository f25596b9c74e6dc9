#include "procedures/Flush.h"

#include <array>

#include "logging/LogFiles.h"
#include "pumps/PumpExchange.h"

namespace photometer {

namespace {

constexpr std::array<PumpAnswer, 2> FLUSH_ENDED{{{"\x02h3;a\x03", 524}, {"\x02h2;b\x03", 0}}};
constexpr PumpDialogue FLUSH{.answers = FLUSH_ENDED, .dwSilence = 522, .dwTooLong = 523, .dwWrite = 525};
/// Longer than any flush: bytes that come one by one do not keep it alive for ever, ms.
constexpr std::uint64_t FLUSH_LIMIT = 600'000;

}  // namespace

HRESULT Flush::StartFlush(DWORD dwFlushTime) {
  const auto state = m_State.Lock();
  const HANDLE hOwnCancel = CreateEventW(TRUE, FALSE, nullptr);
  if (hOwnCancel == 0) {
    return E_FAIL;
  }
  state->m_dwFlushTime = dwFlushTime;
  m_CancelEvents.push_back(hOwnCancel);
  if (!m_Threads.Start("FlushProc", [this, hOwnCancel] { FlushProc(hOwnCancel); })) {
    CloseCancelEvent(hOwnCancel);
    return E_FAIL;
  }
  return state->m_Status.bInitialized ? S_OK : E_FAIL;
}

HRESULT Flush::CancelFlush() {
  {
    const auto state = m_State.Lock();
    m_State.Signal(&DeviceState::PumpCancelEvent);
    SignalCancel();
  }
  LogPhotometer("[Photometer] Flush canceled.");
  return S_OK;
}

void Flush::SignalCancel() {
  const auto state = m_State.Lock();
  for (const HANDLE hCancel : m_CancelEvents) {
    SetEvent(hCancel);
  }
}

void Flush::FlushProc(HANDLE hCancel) {
  const DWORD dwResult = RunPump(hCancel);
  CloseCancelEvent(hCancel);
  if (dwResult == 0 || IsPumpCancelled(dwResult)) {
    m_Sink.Notify([](IPhotometerSink& sink) { sink.OnFlushCompleted(); });
  } else {
    m_Sink.Notify([dwResult](IPhotometerSink& sink) { sink.OnPumpError(0, dwResult); });
  }
}

DWORD Flush::RunPump(HANDLE hCancel) {
  bool bZQ410 = false;
  DWORD dwFlushTime = 0;
  {
    const auto state = m_State.Lock();
    bZQ410 = state->m_PumpInfo.m_iOperatingMode == MODE_ZQ_410;
    dwFlushTime = state->m_dwFlushTime;
  }
  return bZQ410 ? FlushZQ410() : m_Pumps.PumpZQ420(dwFlushTime, hCancel);
}

void Flush::CloseCancelEvent(HANDLE hCancel) {
  const auto state = m_State.Lock();
  std::erase(m_CancelEvents, hCancel);
  CloseHandle(hCancel);
}

DWORD Flush::FlushZQ410() { return Converse(m_State, m_External.Line(), Framed("H2;a"), FLUSH, FLUSH_LIMIT); }

}  // namespace photometer
