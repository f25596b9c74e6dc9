#include "monitors/CuvetteHolder.h"

#include <array>

#include "logging/LogFiles.h"

namespace photometer {

namespace {

/// Whoever signals this event makes the reader poll at once.
constexpr const char16_t* POLL_EVENT = u"MyEvent";
/// From one poll to the next, ms.
constexpr DWORD POLL_PERIOD = 20;
/// So many equal polls (100 ms) are longer than the switches bounce.
constexpr int STABLE_POLLS = 5;

/// The holder's pins, modes and levels, as the board numbers them.
constexpr DWORD SETUP_PORT = 2;
constexpr DWORD SETUP_PIN = 22;
constexpr DWORD SETUP_MODE = 0;
constexpr DWORD OUTPUT_PORT = 0;
constexpr DWORD OUTPUT_PIN = 9;
constexpr DWORD OUTPUT_MODE = 1;
constexpr DWORD OUTPUT_ON = 1;
/// The switches.
constexpr DWORD INPUT_PORT = 3;
constexpr DWORD PIN_10 = 10;
constexpr DWORD PIN_11 = 11;
constexpr DWORD PIN_12 = 12;

constexpr LONG FIXATION = -1;

/// By the number that P10, P11 and P12 make, P10 first.
constexpr std::array<LONG, 8> CODES_UV{0, 10, 14, 20, FIXATION, 10, 40, 50};
constexpr std::array<LONG, 8> CODES_VISIBLE{0, 14, 10, 20, FIXATION, 40, 10, 50};

}  // namespace

LONG DecodeCuvetteState(DWORD dwP10, DWORD dwP11, DWORD dwP12, BOOL bUV) {
  if (dwP10 > 1 || dwP11 > 1 || dwP12 > 1) {
    return FIXATION;
  }
  const std::size_t nPattern = dwP10 << 2U | dwP11 << 1U | dwP12;
  return bUV ? CODES_UV[nPattern] : CODES_VISIBLE[nPattern];
}

std::optional<LONG> CuvetteDebounce::Poll(LONG iState) {
  if (iState != m_iCandidate) {
    m_iCandidate = iState;
    m_bChanging = true;
    m_iCount = 1;
    return std::nullopt;
  }
  if (!m_bChanging || ++m_iCount < STABLE_POLLS) {
    return std::nullopt;
  }
  m_iCount = 0;
  m_bChanging = false;
  if (m_iCandidate == m_iReported) {
    return std::nullopt;
  }
  m_iReported = m_iCandidate;
  return m_iReported;
}

BOOL CuvetteHolder::OpenCuvetteGpio() {
  const HANDLE hGpio = GpioOpenHandle();
  if (hGpio == INVALID_HANDLE_VALUE) {
    return FALSE;
  }
  m_hGpio = hGpio;
  if (GpioSetupPin(hGpio, SETUP_PORT, SETUP_PIN, SETUP_MODE) &&
      GpioSetupPin(hGpio, OUTPUT_PORT, OUTPUT_PIN, OUTPUT_MODE) &&
      GpioSetOutput(hGpio, OUTPUT_PORT, OUTPUT_PIN, OUTPUT_ON)) {
    return TRUE;
  }
  CloseCuvetteGpio();
  return FALSE;
}

void CuvetteHolder::CloseCuvetteGpio() {
  const auto state = m_State.Lock();  // nobody reads the pins meanwhile
  if (const HANDLE hGpio = m_hGpio.exchange(INVALID_HANDLE_VALUE); hGpio != INVALID_HANDLE_VALUE) {
    GpioCloseHandle(hGpio);
  }
}

LONG CuvetteHolder::GetCuvetteState() {
  const auto state = m_State.Lock();
  const HANDLE hGpio = m_hGpio;
  if (hGpio == INVALID_HANDLE_VALUE) {
    return 0;
  }
  const DWORD dwP10 = GpioGetInput(hGpio, INPUT_PORT, PIN_10);
  const DWORD dwP11 = GpioGetInput(hGpio, INPUT_PORT, PIN_11);
  const DWORD dwP12 = GpioGetInput(hGpio, INPUT_PORT, PIN_12);
  return DecodeCuvetteState(dwP10, dwP11, dwP12, state->m_Params.bUV);
}

LONG CuvetteHolder::GetCuvetteSize() { return m_State.Lock()->m_Status.iCuvetteSize; }

void CuvetteHolder::SetCuvetteState(LONG iState) {
  if (iState == FIXATION) {
    LogPhotometer("[CuvetteReader] detected fixation ! iSize= -1");
    iState = 0;
  }
  LONG iBefore = 0;
  {
    const auto state = m_State.Lock();
    iBefore = state->m_Status.iCuvetteSize;
    state->m_Status.iCuvetteSize = iState;
  }
  if (iBefore == iState) {
    return;
  }
  m_Sink.Notify([iState](IPhotometerSink& sink) { sink.OnCuvetteChanged(iState); });
  LogPhotometerF(FALSE, "[CuvetteReader] detected new cuvette size= %d, last size= %d", iState, iBefore);
}

void CuvetteHolder::CuvetteReader() {
  LogPhotometer("Starting Thread [CuvetteReader] ...");
  const HANDLE hPollEvent = CreateEventW(FALSE, FALSE, POLL_EVENT);
  if (hPollEvent == 0) {
    return;
  }
  const std::array<HANDLE, 2> handles{hPollEvent, m_State.StopEvent()};
  CuvetteDebounce debounce;
  // A callback may have outlasted the stop, and with it the stop event.
  while (!m_State.IsStopping()) {
    const DWORD dwResult = WaitForMultipleObjects(2, handles.data(), POLL_PERIOD);
    const bool bPoll = dwResult == WAIT_TIMEOUT || dwResult == WAIT_OBJECT_0;
    if (!bPoll || m_State.IsStopping()) {
      break;
    }
    Poll(debounce);
  }
  CloseHandle(hPollEvent);
}

void CuvetteHolder::Poll(CuvetteDebounce& debounce) {
  if (const std::optional<LONG> stable = debounce.Poll(GetCuvetteState())) {
    NKDbgPrintfW("[CuvetteReader] detect of new cuvette state = %d", *stable);
    SetCuvetteState(*stable);
  }
}

}  // namespace photometer
