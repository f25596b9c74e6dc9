#include "WatchedBoard.h"

#include <charconv>
#include <map>
#include <string>
#include <utility>

#include "platform/Platform.h"
#include "platform/Sanitizers.h"

namespace explorer {

using photometer::platform::COMMTIMEOUTS;
using photometer::platform::DCB;
using photometer::platform::HANDLE;
using photometer::platform::UnobservedScope;

namespace {

constexpr const char16_t* OpticalPort = u"COM2:";
constexpr std::u16string_view ErrorListEnd = u"ErrorCodeList.csv";
constexpr char CommandStart = '$';
constexpr char CommandEnd = '\r';

/// Argument of a command, or -1.
std::int64_t ArgumentOf(std::string_view text) {
  int iArgument = -1;
  std::from_chars(text.data(), text.data() + text.size(), iArgument);
  return iArgument;
}

}  // namespace

bool FailingNumbers::Falls(Failing what) {
  const UnobservedScope scope;
  const auto nKind = static_cast<std::size_t>(what);
  return m_due[nKind].contains(++m_counts[nKind]);
}

class WatchedBoard::Kernel final : public photometer::platform::ForwardingKernel {
 public:
  Kernel(photometer::platform::Kernel& target, WatchedBoard& board) : ForwardingKernel(target), m_board(board) {}

  HANDLE CreateThread(photometer::platform::ThreadStart start, DWORD* pThreadId) override {
    if (start.name.starts_with(HostPrefix)) {
      return ForwardingKernel::CreateThread(std::move(start), pThreadId);
    }
    if (m_board.m_failures.Falls(Failing::Threads)) {
      return 0;
    }
    const std::string name = start.name;
    ++m_board.m_iRunning;
    start.body = [this, name, body = std::move(start.body)]() mutable {
      body();
      body = nullptr;
      m_board.m_ledger.Note(EventKind::ThreadEnds, name, m_board.m_isLampLit() ? 1 : 0);
      --m_board.m_iRunning;
    };
    DWORD dwThread = 0;
    const HANDLE handle = ForwardingKernel::CreateThread(std::move(start), &dwThread);
    m_board.m_ledger.NoteThread(dwThread, name);
    if (pThreadId != nullptr) {
      *pThreadId = dwThread;
    }
    return handle;
  }
  HANDLE CreateEvent(bool bManualReset, bool bInitialState, const std::u16string& name) override {
    return m_board.m_failures.Falls(Failing::Events) ? 0
                                                     : ForwardingKernel::CreateEvent(bManualReset, bInitialState, name);
  }
  void* AllocateMemory(std::size_t nBytes) override {
    return m_board.m_failures.Falls(Failing::Memory) ? nullptr : ForwardingKernel::AllocateMemory(nBytes);
  }

 private:
  WatchedBoard& m_board;
};

class WatchedBoard::SerialPorts final : public photometer::platform::ForwardingSerialPorts {
 public:
  SerialPorts(photometer::platform::SerialPorts& target, WatchedBoard& board)
      : ForwardingSerialPorts(target), m_board(board) {}

  HANDLE Open(const std::u16string& name) override {
    if (m_board.m_failures.Falls(Failing::Opens)) {
      return photometer::platform::INVALID_HANDLE_VALUE;
    }
    const HANDLE handle = ForwardingSerialPorts::Open(name);
    if (name == OpticalPort && handle != photometer::platform::INVALID_HANDLE_VALUE) {
      m_board.m_hOptical = handle;
      m_board.m_ledger.Note(EventKind::OpticalPort, "optical port", 1);
    }
    return handle;
  }
  bool GetState(HANDLE handle, DCB* pState) override {
    return !m_board.m_failures.Falls(Failing::PortSettings) && ForwardingSerialPorts::GetState(handle, pState);
  }
  bool SetState(HANDLE handle, const DCB& state) override {
    return !m_board.m_failures.Falls(Failing::PortSettings) && ForwardingSerialPorts::SetState(handle, state);
  }
  bool SetMask(HANDLE handle, DWORD dwMask) override {
    return !m_board.m_failures.Falls(Failing::PortSettings) && ForwardingSerialPorts::SetMask(handle, dwMask);
  }
  bool SetTimeouts(HANDLE handle, const COMMTIMEOUTS& timeouts) override {
    return !m_board.m_failures.Falls(Failing::PortSettings) && ForwardingSerialPorts::SetTimeouts(handle, timeouts);
  }
  bool Write(HANDLE handle, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten) override {
    // What the port is told counts from the moment at which the bytes are on their way, and is noted before.
    const bool bFails = m_board.m_failures.Falls(Failing::Writes);
    if (handle == m_board.m_hOptical) {
      NoteCommands({static_cast<const char*>(pBuffer), dwBytes}, !bFails);
    }
    return !bFails && ForwardingSerialPorts::Write(handle, pBuffer, dwBytes, pBytesWritten);
  }
  bool Close(HANDLE handle) override {
    HANDLE hOptical = handle;
    if (m_board.m_hOptical.compare_exchange_strong(hOptical, 0)) {
      m_board.m_ledger.Note(EventKind::OpticalPort, "optical port", 0);
    }
    return ForwardingSerialPorts::Close(handle);
  }

 private:
  void NoteCommands(std::string_view bytes, bool bWritten) {
    for (std::size_t n = bytes.find(CommandStart); n != std::string_view::npos; n = bytes.find(CommandStart, n + 1)) {
      const std::string_view command = bytes.substr(n, bytes.find(CommandEnd, n) - n);
      if (command.size() > 1) {
        m_board.m_ledger.Note(EventKind::OpticalCommand, command, command[1], ArgumentOf(command.substr(2)),
                              (bWritten ? 1 : 0) + (m_board.m_isUnitBusy() ? Early : 0));
      }
    }
  }

  WatchedBoard& m_board;
};

class WatchedBoard::Pins final : public photometer::platform::ForwardingPins {
 public:
  Pins(photometer::platform::Pins& target, WatchedBoard& board) : ForwardingPins(target), m_board(board) {}

  HANDLE OpenHandle() override {
    return m_board.m_failures.Falls(Failing::Pins) ? photometer::platform::INVALID_HANDLE_VALUE
                                                   : ForwardingPins::OpenHandle();
  }
  bool SetupPin(HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwMode) override {
    return !m_board.m_failures.Falls(Failing::Pins) && ForwardingPins::SetupPin(handle, dwPort, dwPin, dwMode);
  }
  bool SetOutput(HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwLevel) override {
    return !m_board.m_failures.Falls(Failing::Pins) && ForwardingPins::SetOutput(handle, dwPort, dwPin, dwLevel);
  }

 private:
  WatchedBoard& m_board;
};

class WatchedBoard::Files final : public photometer::platform::ForwardingFiles {
 public:
  Files(photometer::platform::Files& target, Ledger& ledger) : ForwardingFiles(target), m_ledger(ledger) {}

  bool Append(const std::u16string& path, std::string_view bytes) override {
    if (bytes.empty() || bytes.find('\n') != bytes.size() - 1) {
      m_ledger.NoteViolation("whole log lines", "\"" + std::string(bytes) + "\" is not one line");
    }
    if (path.ends_with(ErrorListEnd)) {
      m_ledger.Note(EventKind::ErrorRecord, bytes.substr(0, bytes.size() - 1));
    }
    return ForwardingFiles::Append(path, bytes);
  }

 private:
  Ledger& m_ledger;
};

class WatchedBoard::Registry final : public photometer::platform::ForwardingRegistry {
 public:
  Registry(photometer::platform::Registry& target, Ledger& ledger) : ForwardingRegistry(target), m_ledger(ledger) {}

  bool SetValue(HANDLE key, const std::u16string& name, DWORD dwValue) override {
    NoteCounter(name, dwValue);
    return ForwardingRegistry::SetValue(key, name, dwValue);
  }

 private:
  void NoteCounter(const std::u16string& name, DWORD dwValue) {
    const UnobservedScope scope;
    DWORD& dwBefore = m_counters[name];
    if (dwValue < dwBefore) {
      m_ledger.NoteViolation("lamp counters never shrink", photometer::platform::ToUtf8(name) + " falls from " +
                                                               std::to_string(dwBefore) + " to " +
                                                               std::to_string(dwValue) + " s");
    }
    dwBefore = dwValue;
  }

  Ledger& m_ledger;
  std::map<std::u16string, DWORD> m_counters;
};

/// The results of the pumps reach the host only in part; the debug output has them all.
class WatchedBoard::DebugOutput final : public photometer::platform::ForwardingDebugOutput {
 public:
  DebugOutput(photometer::platform::DebugOutput& target, Ledger& ledger)
      : ForwardingDebugOutput(target), m_ledger(ledger) {}

  void Write(std::u16string_view text) override {
    constexpr std::u16string_view PumpResult = u"[PumpZQ4";
    constexpr std::u16string_view Returns = u"returns ";
    const std::size_t nReturns = text.find(Returns);
    if (text.starts_with(PumpResult) && nReturns != std::u16string_view::npos) {
      const std::int64_t nResult = ArgumentOf(photometer::platform::ToUtf8(text.substr(nReturns + Returns.size())));
      if (nResult != 0) {
        m_ledger.Note(EventKind::PumpFailed, "pump", nResult);
      }
    }
    ForwardingDebugOutput::Write(text);
  }

 private:
  Ledger& m_ledger;
};

struct WatchedBoard::Services {
  Services(photometer::platform::Board& target, WatchedBoard& board)
      : kernel(target.GetKernel(), board),
        serialPorts(target.GetSerialPorts(), board),
        pins(target.GetPins(), board),
        files(target.GetFiles(), board.m_ledger),
        registry(target.GetRegistry(), board.m_ledger),
        debugOutput(target.GetDebugOutput(), board.m_ledger) {}

  Kernel kernel;
  SerialPorts serialPorts;
  Pins pins;
  Files files;
  Registry registry;
  DebugOutput debugOutput;
};

WatchedBoard::WatchedBoard(photometer::platform::Board& target, Ledger& ledger)
    : ForwardingBoard(target), m_ledger(ledger), m_pServices(std::make_unique<Services>(target, *this)) {
  Replace(m_pServices->kernel);
  Replace(m_pServices->serialPorts);
  Replace(m_pServices->pins);
  Replace(m_pServices->files);
  Replace(m_pServices->registry);
  Replace(m_pServices->debugOutput);
}

WatchedBoard::~WatchedBoard() = default;

}  // namespace explorer
