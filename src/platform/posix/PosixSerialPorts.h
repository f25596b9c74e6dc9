/// The serial ports of the POSIX board: terminal devices of the host system.
///
/// A port is open once, in this process and among all others. A port whose device has vanished is closed by the call
/// that finds out; every later call with its handle fails, `Close` apart, which gives the handle up. The event mask is
/// kept and has no effect.
#pragma once

#include <memory>
#include <mutex>
#include <unordered_map>
#include <vector>

#include "platform/Board.h"
#include "platform/posix/BoardFile.h"

namespace photometer::platform {

class PosixPort;

class PosixSerialPorts final : public SerialPorts {
 public:
  explicit PosixSerialPorts(std::vector<SerialPortEntry> entries);
  /// Closes what is open; calls that wait end with a failure.
  ~PosixSerialPorts() override;

  HANDLE Open(const std::u16string& name) override;
  bool GetState(HANDLE handle, DCB* pState) override;
  bool SetState(HANDLE handle, const DCB& state) override;
  bool SetMask(HANDLE handle, DWORD dwMask) override;
  bool SetTimeouts(HANDLE handle, const COMMTIMEOUTS& timeouts) override;
  bool Purge(HANDLE handle, DWORD dwFlags) override;
  bool Read(HANDLE handle, void* pBuffer, DWORD dwBytes, DWORD* pBytesRead) override;
  bool Write(HANDLE handle, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten) override;
  bool Close(HANDLE handle) override;

 private:
  std::shared_ptr<PosixPort> Find(HANDLE handle);
  void GiveUpIfLost(HANDLE handle, const PosixPort& port);

  const std::vector<SerialPortEntry> m_entries;
  std::mutex m_mutex;
  /// A handle whose device has vanished has no port, until it is closed.
  std::unordered_map<HANDLE, std::shared_ptr<PosixPort>> m_ports;
};

}  // namespace photometer::platform
