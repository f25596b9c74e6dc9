#include "state/ReaderPort.h"

#include <algorithm>
#include <array>
#include <utility>

#include "state/Deadline.h"

namespace photometer {

namespace {

/// Received character, event character, break, line error, power.
constexpr DWORD PORT_EVENTS = 0x20C3;
/// All five time-outs, ms: a read of 192 bytes sleeps at most 193 ms on an idle line.
constexpr DWORD PORT_TIMEOUT = 1;
constexpr DWORD READ_BLOCK = 192;
/// Between two reads after a failed one, ms: a port that is gone must not make the reader spin.
constexpr DWORD FAILED_READ_PAUSE = 100;
/// How long a handle is kept open for calls that use it, ms; a write of a few bytes takes none.
constexpr DWORD USE_LIMIT = 100;

/// The port's fields are narrower than the host's numbers: what does not fit must not become a valid value.
BYTE Narrow(DWORD dwValue) { return static_cast<BYTE>(std::min<DWORD>(dwValue, 0xFF)); }

BOOL SetLine(HANDLE hPort, const LineSettings& settings) {
  DCB state{};
  if (!GetCommState(hPort, &state)) {
    return FALSE;
  }
  state.DCBlength = DCB_LENGTH;
  state.BaudRate = settings.dwBaudRate;
  state.Flags &= ~DCB_CHECK_PARITY;
  state.Parity = Narrow(settings.dwParity);
  state.StopBits = ONESTOPBIT;
  state.ByteSize = Narrow(settings.dwByteSize);
  return SetCommState(hPort, &state);
}

}  // namespace

/// The open port's handle, kept open for as long as this lives.
class ReaderPort::Use {
 public:
  explicit Use(ReaderPort& port) : m_Port(port) {
    const auto state = m_Port.m_State.Lock();
    m_hPort = m_Port.m_hPort;
    ++m_Port.m_iUses;
  }
  ~Use() {
    const auto state = m_Port.m_State.Lock();
    --m_Port.m_iUses;
  }
  Use(const Use&) = delete;
  Use& operator=(const Use&) = delete;

  [[nodiscard]] HANDLE Handle() const { return m_hPort; }

 private:
  ReaderPort& m_Port;
  HANDLE m_hPort = 0;
};

// ---- opening and closing ----

BOOL ReaderPort::Open(const LineSettings& settings, PortReader reader) {
  if (m_State.IsStopping()) {
    return FALSE;
  }
  const HANDLE hPort = CreateFileW(m_strName);
  m_hPort = hPort;
  if (hPort == INVALID_HANDLE_VALUE) {
    return FALSE;
  }
  {
    const auto state = m_State.Lock();
    m_Open.push_back(hPort);
  }
  const char* const name = reader.name;
  auto run = [this, hPort, reader = std::move(reader)] { Run(hPort, reader); };
  if (!Configure(hPort, settings) || !m_Threads.Start(name, std::move(run))) {
    GiveUp(hPort);
    return FALSE;
  }
  return TRUE;
}

BOOL ReaderPort::Configure(HANDLE hPort, const LineSettings& settings) {
  const COMMTIMEOUTS timeouts{PORT_TIMEOUT, PORT_TIMEOUT, PORT_TIMEOUT, PORT_TIMEOUT, PORT_TIMEOUT};
  return SetLine(hPort, settings) && SetCommMask(hPort, PORT_EVENTS) && SetCommTimeouts(hPort, &timeouts);
}

void ReaderPort::Close() {
  if (const HANDLE hPort = m_hPort.exchange(0); IsUsable(hPort)) {
    SetCommMask(hPort, 0);
    PurgeComm(hPort, 0);
  }
  AwaitUses();
  std::vector<HANDLE> open;
  {
    const auto state = m_State.Lock();
    open.swap(m_Open);
  }
  for (const HANDLE hOpen : open) {
    CloseHandle(hOpen);
  }
}

void ReaderPort::GiveUp(HANDLE hPort) {
  HANDLE hOwn = hPort;
  m_hPort.compare_exchange_strong(hOwn, INVALID_HANDLE_VALUE);
  AwaitUses();
  CloseOnce(hPort);
}

void ReaderPort::AwaitUses() {
  const auto isUsed = [this] {
    const auto state = m_State.Lock();
    return m_iUses > 0;
  };
  for (const Deadline limit(USE_LIMIT); isUsed() && limit.Rest() > 0;) {
    Sleep(1);
  }
}

void ReaderPort::CloseOnce(HANDLE hPort) {
  {
    const auto state = m_State.Lock();
    if (std::erase(m_Open, hPort) == 0) {
      return;
    }
  }
  CloseHandle(hPort);
}

// ---- reading ----

void ReaderPort::Run(HANDLE hPort, const PortReader& reader) {
  if (reader.onStart) {
    reader.onStart();
  }
  const bool bLost = !ReadBlocks(hPort, reader);
  if (bLost) {
    if (reader.onLost) {
      reader.onLost();
    }
    GiveUp(hPort);
  }
  reader.onEnd(bLost);
}

bool ReaderPort::ReadBlocks(HANDLE hPort, const PortReader& reader) {
  std::array<char, READ_BLOCK> block{};
  for (int iFailedReads = 0; iFailedReads < reader.iFailedReadLimit;) {
    if (m_State.IsStopping()) {
      return true;  // what the last block was given to may have outlasted the port
    }
    DWORD dwRead = 0;
    const BOOL bRead = ReadFile(hPort, block.data(), READ_BLOCK, &dwRead);
    const HANDLE hNow = m_hPort;
    if (m_State.IsStopping() || hNow == 0) {
      return true;
    }
    if (hNow != hPort) {
      return false;
    }
    iFailedReads = bRead ? 0 : iFailedReads + 1;
    if (bRead && dwRead > 0) {
      reader.onBlock({block.data(), dwRead});
    } else if (!bRead && iFailedReads < reader.iFailedReadLimit) {
      m_State.Pause(FAILED_READ_PAUSE);
    }
  }
  return false;
}

// ---- the open port ----

PortWrite ReaderPort::Write(std::string_view bytes) {
  const Use use(*this);
  DWORD dwWritten = 0;
  if (IsUsable(use.Handle()) && WriteFile(use.Handle(), bytes.data(), static_cast<DWORD>(bytes.size()), &dwWritten)) {
    return PortWrite::Written;
  }
  const HANDLE hNow = m_hPort;  // closing the port breaks a write off, and it may even be open anew
  return hNow == INVALID_HANDLE_VALUE || (hNow == use.Handle() && IsUsable(hNow)) ? PortWrite::Failed
                                                                                  : PortWrite::Closed;
}

BOOL ReaderPort::Apply(const LineSettings& settings) {
  const Use use(*this);
  return IsUsable(use.Handle()) && SetLine(use.Handle(), settings);
}

}  // namespace photometer
