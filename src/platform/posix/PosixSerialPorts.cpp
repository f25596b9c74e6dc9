#include "platform/posix/PosixSerialPorts.h"

#include <algorithm>

#include "platform/posix/PosixPort.h"

namespace photometer::platform {

PosixSerialPorts::PosixSerialPorts(std::vector<SerialPortEntry> entries) : m_entries(std::move(entries)) {}

PosixSerialPorts::~PosixSerialPorts() {
  const std::lock_guard lock(m_mutex);
  for (const auto& [handle, port] : m_ports) {
    if (port != nullptr) port->Close();
  }
}

HANDLE PosixSerialPorts::Open(const std::u16string& name) {
  const auto entry = std::ranges::find(m_entries, name, &SerialPortEntry::name);
  if (entry == m_entries.end()) return INVALID_HANDLE_VALUE;
  auto port = PosixPort::Open(*entry);
  if (port == nullptr) return INVALID_HANDLE_VALUE;

  const HANDLE handle = NewHandle(HandleKind::SerialPort);
  const std::lock_guard lock(m_mutex);
  m_ports.emplace(handle, std::move(port));
  return handle;
}

bool PosixSerialPorts::GetState(HANDLE handle, DCB* pState) {
  const auto port = Find(handle);
  return port != nullptr && port->GetState(pState);
}

bool PosixSerialPorts::SetState(HANDLE handle, const DCB& state) {
  const auto port = Find(handle);
  return port != nullptr && port->SetState(state);
}

bool PosixSerialPorts::SetMask(HANDLE handle, DWORD dwMask) {
  const auto port = Find(handle);
  return port != nullptr && port->SetMask(dwMask);
}

bool PosixSerialPorts::SetTimeouts(HANDLE handle, const COMMTIMEOUTS& timeouts) {
  const auto port = Find(handle);
  return port != nullptr && port->SetTimeouts(timeouts);
}

bool PosixSerialPorts::Purge(HANDLE handle, DWORD dwFlags) {
  const auto port = Find(handle);
  return port != nullptr && port->Purge(dwFlags);
}

bool PosixSerialPorts::Read(HANDLE handle, void* pBuffer, DWORD dwBytes, DWORD* pBytesRead) {
  *pBytesRead = 0;
  const auto port = Find(handle);
  if (port == nullptr) return false;
  const bool bRead = port->Read(static_cast<char*>(pBuffer), dwBytes, pBytesRead);
  GiveUpIfLost(handle, *port);
  return bRead;
}

bool PosixSerialPorts::Write(HANDLE handle, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten) {
  *pBytesWritten = 0;
  const auto port = Find(handle);
  if (port == nullptr) return false;
  const bool bWritten = port->Write(static_cast<const char*>(pBuffer), dwBytes, pBytesWritten);
  GiveUpIfLost(handle, *port);
  return bWritten;
}

bool PosixSerialPorts::Close(HANDLE handle) {
  std::unique_lock lock(m_mutex);
  const auto found = m_ports.find(handle);
  if (found == m_ports.end()) return false;
  const auto port = std::move(found->second);
  m_ports.erase(found);
  lock.unlock();
  if (port != nullptr) port->Close();
  return true;
}

std::shared_ptr<PosixPort> PosixSerialPorts::Find(HANDLE handle) {
  const std::lock_guard lock(m_mutex);
  const auto found = m_ports.find(handle);
  return found == m_ports.end() ? nullptr : found->second;
}

void PosixSerialPorts::GiveUpIfLost(HANDLE handle, const PosixPort& port) {
  if (!port.IsLost()) return;
  const std::lock_guard lock(m_mutex);
  if (const auto found = m_ports.find(handle); found != m_ports.end()) found->second = nullptr;
}

}  // namespace photometer::platform
