#include "platform/virtual/VirtualSerialPorts.h"

#include <algorithm>
#include <cstring>
#include <utility>

#include "platform/Platform.h"
#include "platform/Sanitizers.h"

namespace photometer::platform {

VirtualSerialPorts::VirtualSerialPorts(Scheduler& scheduler, VirtualClock& clock, RuleChecks& checks)
    : m_scheduler(scheduler), m_clock(clock), m_checks(checks) {
  m_scheduler.SetTimedSource(*this);
}

// ---- the world around it ----

void VirtualSerialPorts::Plug(const std::u16string& name, simulator::SerialDevice& device, bool bAtOnce) {
  Port& port = m_ports[name];
  if (port.pLine == nullptr) {
    const auto dwPort = static_cast<DWORD>(m_ports.size());
    port.pLine = std::make_unique<SerialLine>(ToUtf8(name), dwPort, m_scheduler.GetPolicy());
  }
  port.pLine->Plug(&device, bAtOnce);
}

void VirtualSerialPorts::Unplug(const std::u16string& name) {
  const auto found = m_ports.find(name);
  if (found == m_ports.end()) {
    return;
  }
  Port& port = found->second;
  port.pLine->Unplug();
  port.pLine->Close();
  port.handle = 0;
  FailReaders(port);
}

std::uint64_t VirtualSerialPorts::DroppedBytes(const std::u16string& name) const {
  const auto found = m_ports.find(name);
  return found == m_ports.end() ? 0 : found->second.pLine->DroppedBytes();
}

std::vector<std::string> VirtualSerialPorts::Leftovers() const {
  std::vector<std::string> names;
  for (const auto& [handle, pPort] : m_handles) {
    names.push_back("port " + pPort->pLine->Name() + ", handle open");
  }
  return names;
}

// ---- handles and settings ----

HANDLE VirtualSerialPorts::Open(const std::u16string& name) {
  const UnobservedScope scope;
  m_scheduler.Point("CreateFileW");
  const auto found = m_ports.find(name);
  if (found == m_ports.end() || !found->second.pLine->IsPlugged() || found->second.handle != 0) {
    return INVALID_HANDLE_VALUE;
  }
  Port& port = found->second;
  port.handle = NewHandle(HandleKind::SerialPort);
  port.pLine->Open(m_clock.Now());
  m_handles.emplace(port.handle, &port);
  return port.handle;
}

VirtualSerialPorts::Port* VirtualSerialPorts::Find(HANDLE handle) {
  const auto found = m_handles.find(handle);
  if (found == m_handles.end()) {
    m_checks.BadHandle(m_scheduler.Current(), handle);
    return nullptr;
  }
  return found->second->handle == handle ? found->second : nullptr;
}

bool VirtualSerialPorts::GetState(HANDLE handle, DCB* pState) {
  const UnobservedScope scope;
  m_scheduler.Point("GetCommState");
  const Port* pPort = Find(handle);
  if (pPort == nullptr) {
    return false;
  }
  *pState = pPort->pLine->State();
  return true;
}

bool VirtualSerialPorts::SetState(HANDLE handle, const DCB& state) {
  const UnobservedScope scope;
  m_scheduler.Point("SetCommState");
  const Port* pPort = Find(handle);
  return pPort != nullptr && pPort->pLine->SetState(state);
}

bool VirtualSerialPorts::SetMask(HANDLE handle, DWORD /*dwMask*/) {
  const UnobservedScope scope;
  m_scheduler.Point("SetCommMask");
  return Find(handle) != nullptr;
}

bool VirtualSerialPorts::SetTimeouts(HANDLE handle, const COMMTIMEOUTS& timeouts) {
  const UnobservedScope scope;
  m_scheduler.Point("SetCommTimeouts");
  const Port* pPort = Find(handle);
  if (pPort == nullptr) {
    return false;
  }
  pPort->pLine->SetTimeouts(timeouts);
  return true;
}

bool VirtualSerialPorts::Purge(HANDLE handle, DWORD dwFlags) {
  const UnobservedScope scope;
  m_scheduler.Point("PurgeComm");
  Port* pPort = Find(handle);
  if (pPort == nullptr) {
    return false;
  }
  if ((dwFlags & PURGE_TXCLEAR) != 0) {
    pPort->pLine->DiscardOutput(m_clock.Now());
  }
  if ((dwFlags & PURGE_RXCLEAR) != 0) {
    pPort->pLine->DiscardInput();
    TellReaders(*pPort);
  }
  return true;
}

bool VirtualSerialPorts::Close(HANDLE handle) {
  const UnobservedScope scope;
  const VirtualThread& thread = m_scheduler.Point("CloseHandle (port)");
  const auto found = m_handles.find(handle);
  if (found == m_handles.end()) {
    m_checks.BadHandle(thread, handle);
    return false;
  }
  Port& port = *found->second;
  m_handles.erase(found);
  m_checks.HandleClosed(thread, handle, "port " + port.pLine->Name());
  if (port.handle == handle) {
    port.handle = 0;
    port.pLine->Close();
    FailReaders(port);
  }
  return true;
}

// ---- reading and writing ----

// The caller's buffers are touched outside of the unobserved scopes, so that races on them are seen.
bool VirtualSerialPorts::Read(HANDLE handle, void* pBuffer, DWORD dwBytes, DWORD* pBytesRead) {
  std::string bytes;
  bool bRead = false;
  {
    const UnobservedScope scope;
    bRead = ReadBlock(handle, dwBytes, &bytes);
  }
  std::memcpy(pBuffer, bytes.data(), bytes.size());
  *pBytesRead = static_cast<DWORD>(bytes.size());
  return bRead;
}

bool VirtualSerialPorts::ReadBlock(HANDLE handle, DWORD dwBytes, std::string* pBytes) {
  const VirtualThread& thread = m_scheduler.Point("ReadFile");
  m_checks.WaitBegins(thread);
  Port* pPort = Find(handle);
  if (pPort == nullptr) {
    return false;
  }
  const PendingRead read{dwBytes, m_clock.Now()};
  const bool bRead = WaitForBytes(handle, *pPort, read);
  if (bRead) {
    *pBytes = pPort->pLine->Take(dwBytes);
  }
  m_scheduler.NoteResult(m_clock.Now());
  m_scheduler.NoteResult(bRead ? pBytes->size() : SIZE_MAX);
  return bRead;
}

bool VirtualSerialPorts::WaitForBytes(HANDLE handle, Port& port, const PendingRead& read) {
  VirtualThread& thread = m_scheduler.Current();
  Reader reader{&thread, read};
  while (port.handle == handle && !port.pLine->ReadEnds(read, m_clock.Now()) && !m_scheduler.WaitsFail()) {
    thread.pWaitsForPort = &port.pLine->Name();
    port.readers.push_back(&reader);
    m_scheduler.Block(port.pLine->ReadDeadline(read));
    std::erase(port.readers, &reader);
    thread.pWaitsForPort = nullptr;
  }
  return port.handle == handle && !m_scheduler.WaitsFail();
}

bool VirtualSerialPorts::Write(HANDLE handle, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten) {
  std::string bytes(static_cast<const char*>(pBuffer), dwBytes);
  bool bWritten = false;
  {
    const UnobservedScope scope;
    bWritten = WriteBlock(handle, std::move(bytes));
  }
  *pBytesWritten = bWritten ? dwBytes : 0;
  return bWritten;
}

bool VirtualSerialPorts::WriteBlock(HANDLE handle, std::string bytes) {
  m_checks.WaitBegins(m_scheduler.Point("WriteFile"));
  const Port* pPort = Find(handle);
  if (pPort == nullptr) {
    return false;
  }
  if (!bytes.empty()) {
    pPort->pLine->Send(m_clock.Now(), std::move(bytes));
  }
  return true;
}

void VirtualSerialPorts::TellReaders(Port& port) {
  for (Reader* pReader : port.readers) {
    if (port.pLine->ReadEnds(pReader->read, m_clock.Now())) {
      m_scheduler.Wake(*pReader->pThread, WakeReason::Woken);
    } else if (pReader->pThread->bBlocked) {
      pReader->pThread->nDeadline = port.pLine->ReadDeadline(pReader->read);
    }
  }
}

void VirtualSerialPorts::FailReaders(Port& port) {
  for (Reader* pReader : port.readers) {
    m_scheduler.Wake(*pReader->pThread, WakeReason::Failed);
  }
}

// ---- time ----

std::uint64_t VirtualSerialPorts::NextEvent() {
  std::uint64_t nNext = NoDeadline;
  for (const auto& [name, port] : m_ports) {
    nNext = std::min(nNext, port.pLine->NextEvent());
  }
  return nNext;
}

void VirtualSerialPorts::Advance() {
  for (auto& [name, port] : m_ports) {
    if (port.pLine->NextEvent() <= m_clock.Now() && port.pLine->Advance(m_clock.Now())) {
      TellReaders(port);
    }
  }
}

bool VirtualSerialPorts::ThreadsWait() const {
  return std::ranges::any_of(m_ports, [](const auto& entry) { return !entry.second.readers.empty(); });
}

}  // namespace photometer::platform
