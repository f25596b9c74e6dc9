/// The virtual board's serial ports: names, handles and the threads that read.
#pragma once

#include <map>
#include <memory>
#include <string>
#include <vector>

#include "platform/Board.h"
#include "platform/virtual/RuleChecks.h"
#include "platform/virtual/Scheduler.h"
#include "platform/virtual/SerialLine.h"
#include "platform/virtual/VirtualClock.h"

namespace photometer::platform {

class VirtualSerialPorts final : public SerialPorts, public TimedSource {
 public:
  VirtualSerialPorts(Scheduler& scheduler, VirtualClock& clock, RuleChecks& checks);

  void Plug(const std::u16string& name, simulator::SerialDevice& device, bool bAtOnce);
  void Unplug(const std::u16string& name);
  [[nodiscard]] std::uint64_t DroppedBytes(const std::u16string& name) const;
  [[nodiscard]] std::vector<std::string> Leftovers() const;

  HANDLE Open(const std::u16string& name) override;
  bool GetState(HANDLE handle, DCB* pState) override;
  bool SetState(HANDLE handle, const DCB& state) override;
  bool SetMask(HANDLE handle, DWORD dwMask) override;
  bool SetTimeouts(HANDLE handle, const COMMTIMEOUTS& timeouts) override;
  bool Purge(HANDLE handle, DWORD dwFlags) override;
  bool Read(HANDLE handle, void* pBuffer, DWORD dwBytes, DWORD* pBytesRead) override;
  bool Write(HANDLE handle, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten) override;
  bool Close(HANDLE handle) override;

  [[nodiscard]] std::uint64_t NextEvent() override;
  void Advance() override;
  [[nodiscard]] bool ThreadsWait() const override;

 private:
  struct Reader {
    VirtualThread* pThread;
    PendingRead read;
  };
  struct Port {
    std::unique_ptr<SerialLine> pLine;
    /// The handle that it is open with; 0: it is closed.
    HANDLE handle = 0;
    std::vector<Reader*> readers;
  };

  /// The port that the handle has open; null if it names none, or the port has vanished since.
  Port* Find(HANDLE handle);
  /// Reads that can end do, the others learn their new deadline.
  void TellReaders(Port& port);
  void FailReaders(Port& port);
  /// The bytes; false: the port is gone.
  bool ReadBlock(HANDLE handle, DWORD dwBytes, std::string* pBytes);
  bool WriteBlock(HANDLE handle, std::string bytes);
  bool WaitForBytes(HANDLE handle, Port& port, const PendingRead& read);

  Scheduler& m_scheduler;
  VirtualClock& m_clock;
  RuleChecks& m_checks;
  std::map<std::u16string, Port> m_ports;
  std::map<HANDLE, Port*> m_handles;
};

}  // namespace photometer::platform
