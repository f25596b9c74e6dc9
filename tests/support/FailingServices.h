/// Services of a board that fail once, at a call that the test chooses: the n-th from `Start(n)` on, from 1.
#pragma once

#include <atomic>
#include <functional>
#include <string_view>
#include <utility>

#include "platform/Forwarding.h"

namespace photometer::tests {

/// Counts calls down to the one that fails.
class Countdown {
 public:
  void Start(int n) { m_n = n; }
  /// This is the call that fails.
  bool Falls() { return m_n > 0 && --m_n == 0; }

 private:
  int m_n = 0;
};

class FailingKernel final : public platform::ForwardingKernel {
 public:
  using ForwardingKernel::ForwardingKernel;

  Countdown threads;
  Countdown events;
  Countdown memory;

  platform::HANDLE CreateThread(platform::ThreadStart start, DWORD* pThreadId) override {
    if (threads.Falls()) {
      return 0;
    }
    ++m_iRunning;
    start.body = [this, body = std::move(start.body)]() mutable {
      body();
      body = nullptr;
      --m_iRunning;
    };
    return ForwardingKernel::CreateThread(std::move(start), pThreadId);
  }
  /// Threads that have not ended. Once it is 0, all that they did lies before what follows, in the language's sense
  /// too.
  [[nodiscard]] int Running() const { return m_iRunning; }
  platform::HANDLE CreateEvent(bool bManualReset, bool bInitialState, const std::u16string& name) override {
    return events.Falls() ? 0 : ForwardingKernel::CreateEvent(bManualReset, bInitialState, name);
  }
  void* AllocateMemory(std::size_t nBytes) override {
    return memory.Falls() ? nullptr : ForwardingKernel::AllocateMemory(nBytes);
  }

 private:
  std::atomic<int> m_iRunning{0};
};

class FailingSerialPorts final : public platform::ForwardingSerialPorts {
 public:
  using ForwardingSerialPorts::ForwardingSerialPorts;

  Countdown opens;
  Countdown writes;
  /// `GetState`, `SetState`, `SetMask` and `SetTimeouts` together.
  Countdown settings;
  /// Runs before each write, on the writing thread.
  std::function<void(std::string_view bytes)> beforeWrite;

  platform::HANDLE Open(const std::u16string& name) override {
    return opens.Falls() ? platform::INVALID_HANDLE_VALUE : ForwardingSerialPorts::Open(name);
  }
  bool GetState(platform::HANDLE handle, platform::DCB* pState) override {
    return !settings.Falls() && ForwardingSerialPorts::GetState(handle, pState);
  }
  bool SetState(platform::HANDLE handle, const platform::DCB& state) override {
    return !settings.Falls() && ForwardingSerialPorts::SetState(handle, state);
  }
  bool SetMask(platform::HANDLE handle, DWORD dwMask) override {
    return !settings.Falls() && ForwardingSerialPorts::SetMask(handle, dwMask);
  }
  bool SetTimeouts(platform::HANDLE handle, const platform::COMMTIMEOUTS& timeouts) override {
    return !settings.Falls() && ForwardingSerialPorts::SetTimeouts(handle, timeouts);
  }
  bool Write(platform::HANDLE handle, const void* pBuffer, DWORD dwBytes, DWORD* pBytesWritten) override {
    if (beforeWrite) {
      beforeWrite({static_cast<const char*>(pBuffer), dwBytes});
    }
    return !writes.Falls() && ForwardingSerialPorts::Write(handle, pBuffer, dwBytes, pBytesWritten);
  }
};

class FailingPins final : public platform::ForwardingPins {
 public:
  using ForwardingPins::ForwardingPins;

  /// `OpenHandle`, `SetupPin` and `SetOutput` together.
  Countdown settings;

  platform::HANDLE OpenHandle() override {
    return settings.Falls() ? platform::INVALID_HANDLE_VALUE : ForwardingPins::OpenHandle();
  }
  bool SetupPin(platform::HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwMode) override {
    return !settings.Falls() && ForwardingPins::SetupPin(handle, dwPort, dwPin, dwMode);
  }
  bool SetOutput(platform::HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwLevel) override {
    return !settings.Falls() && ForwardingPins::SetOutput(handle, dwPort, dwPin, dwLevel);
  }
};

}  // namespace photometer::tests
