/// Services that pass everything on to another one. A test derives from one of them and overrides only what it breaks;
/// a tracing board what it notes.
///
/// The targets must outlive them. They add no lock and no state: what their target may be called from, they may.
#pragma once

#include <utility>

#include "platform/Board.h"

namespace photometer::platform {

class ForwardingKernel : public Kernel {
 public:
  explicit ForwardingKernel(Kernel& target) : m_target(target) {}

  HANDLE CreateThread(ThreadStart start, DWORD* pThreadId) override {
    return m_target.CreateThread(std::move(start), pThreadId);
  }
  DWORD GetCurrentThreadId() override { return m_target.GetCurrentThreadId(); }
  HANDLE CreateEvent(bool bManualReset, bool bInitialState, const std::u16string& name) override {
    return m_target.CreateEvent(bManualReset, bInitialState, name);
  }
  bool ModifyEvent(HANDLE handle, EventAction action) override { return m_target.ModifyEvent(handle, action); }
  DWORD WaitForMultipleObjects(std::span<const HANDLE> handles, DWORD dwMilliseconds) override {
    return m_target.WaitForMultipleObjects(handles, dwMilliseconds);
  }
  bool CloseHandle(HANDLE handle) override { return m_target.CloseHandle(handle); }
  std::unique_ptr<CriticalSection> CreateCriticalSection(const char* name) override {
    return m_target.CreateCriticalSection(name);
  }
  void Sleep(DWORD dwMilliseconds) override { m_target.Sleep(dwMilliseconds); }
  DWORD GetTickCount() override { return m_target.GetTickCount(); }
  std::uint64_t GetMicroseconds() override { return m_target.GetMicroseconds(); }
  SYSTEMTIME GetLocalTime() override { return m_target.GetLocalTime(); }
  void* AllocateMemory(std::size_t nBytes) override { return m_target.AllocateMemory(nBytes); }
  void FreeMemory(void* pMemory) override { m_target.FreeMemory(pMemory); }

 protected:
  Kernel& m_target;
};

class ForwardingSerialPorts : public SerialPorts {
 public:
  explicit ForwardingSerialPorts(SerialPorts& target) : m_target(target) {}

  HANDLE Open(const std::u16string& name) override { return m_target.Open(name); }
  bool GetState(HANDLE handle, DCB* pState) override { return m_target.GetState(handle, pState); }
  bool SetState(HANDLE handle, const DCB& state) override { return m_target.SetState(handle, state); }
  bool SetMask(HANDLE handle, DWORD dwMask) override { return m_target.SetMask(handle, dwMask); }
  bool SetTimeouts(HANDLE handle, const COMMTIMEOUTS& timeouts) override {
    return m_target.SetTimeouts(handle, timeouts);
  }
  bool Purge(HANDLE handle, DWORD dwFlags) override { return m_target.Purge(handle, dwFlags); }
  bool Read(HANDLE handle, void* pBuffer, DWORD dwBytes, DWORD* pBytesRead) override {
    return m_target.Read(handle, pBuffer, dwBytes, pBytesRead);
  }
  bool Write(HANDLE handle, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten) override {
    return m_target.Write(handle, pBuffer, dwBytes, pBytesWritten);
  }
  bool Close(HANDLE handle) override { return m_target.Close(handle); }

 protected:
  SerialPorts& m_target;
};

class ForwardingPins : public Pins {
 public:
  explicit ForwardingPins(Pins& target) : m_target(target) {}

  HANDLE OpenHandle() override { return m_target.OpenHandle(); }
  bool SetupPin(HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwMode) override {
    return m_target.SetupPin(handle, dwPort, dwPin, dwMode);
  }
  bool SetOutput(HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwLevel) override {
    return m_target.SetOutput(handle, dwPort, dwPin, dwLevel);
  }
  DWORD GetInput(HANDLE handle, DWORD dwPort, DWORD dwPin) override { return m_target.GetInput(handle, dwPort, dwPin); }
  bool CloseHandle(HANDLE handle) override { return m_target.CloseHandle(handle); }

 protected:
  Pins& m_target;
};

class ForwardingFiles : public Files {
 public:
  explicit ForwardingFiles(Files& target) : m_target(target) {}

  bool Append(const std::u16string& path, std::string_view bytes) override { return m_target.Append(path, bytes); }
  bool Replace(const std::u16string& path, std::string_view bytes) override { return m_target.Replace(path, bytes); }
  std::optional<std::string> Read(const std::u16string& path, std::size_t nLimit) override {
    return m_target.Read(path, nLimit);
  }
  std::optional<FileStatus> GetStatus(const std::u16string& path) override { return m_target.GetStatus(path); }
  bool CreateDirectory(const std::u16string& path) override { return m_target.CreateDirectory(path); }
  bool Copy(const std::u16string& from, const std::u16string& to) override { return m_target.Copy(from, to); }
  bool Delete(const std::u16string& path) override { return m_target.Delete(path); }
  std::u16string GetModuleFileName() override { return m_target.GetModuleFileName(); }

 protected:
  Files& m_target;
};

class ForwardingRegistry : public Registry {
 public:
  explicit ForwardingRegistry(Registry& target) : m_target(target) {}

  HANDLE OpenKey(const std::u16string& path) override { return m_target.OpenKey(path); }
  std::optional<DWORD> QueryValue(HANDLE key, const std::u16string& name) override {
    return m_target.QueryValue(key, name);
  }
  bool SetValue(HANDLE key, const std::u16string& name, DWORD dwValue) override {
    return m_target.SetValue(key, name, dwValue);
  }
  bool CloseKey(HANDLE key) override { return m_target.CloseKey(key); }

 protected:
  Registry& m_target;
};

class ForwardingDebugOutput : public DebugOutput {
 public:
  explicit ForwardingDebugOutput(DebugOutput& target) : m_target(target) {}

  void Write(std::u16string_view text) override { m_target.Write(text); }

 protected:
  DebugOutput& m_target;
};

/// A board whose services are those of another one, single ones replaced. Replace services before the board is used.
class ForwardingBoard : public Board {
 public:
  explicit ForwardingBoard(Board& target)
      : m_pKernel(&target.GetKernel()),
        m_pSerialPorts(&target.GetSerialPorts()),
        m_pPins(&target.GetPins()),
        m_pFiles(&target.GetFiles()),
        m_pRegistry(&target.GetRegistry()),
        m_pDebugOutput(&target.GetDebugOutput()) {}

  Kernel& GetKernel() override { return *m_pKernel; }
  SerialPorts& GetSerialPorts() override { return *m_pSerialPorts; }
  Pins& GetPins() override { return *m_pPins; }
  Files& GetFiles() override { return *m_pFiles; }
  Registry& GetRegistry() override { return *m_pRegistry; }
  DebugOutput& GetDebugOutput() override { return *m_pDebugOutput; }

  void Replace(Kernel& kernel) { m_pKernel = &kernel; }
  void Replace(SerialPorts& serialPorts) { m_pSerialPorts = &serialPorts; }
  void Replace(Pins& pins) { m_pPins = &pins; }
  void Replace(Files& files) { m_pFiles = &files; }
  void Replace(Registry& registry) { m_pRegistry = &registry; }
  void Replace(DebugOutput& debugOutput) { m_pDebugOutput = &debugOutput; }

 private:
  Kernel* m_pKernel;
  SerialPorts* m_pSerialPorts;
  Pins* m_pPins;
  Files* m_pFiles;
  Registry* m_pRegistry;
  DebugOutput* m_pDebugOutput;
};

}  // namespace photometer::platform
