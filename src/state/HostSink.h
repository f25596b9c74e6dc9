/// The way to the host: the registered sink, the sink lock, and the gate that `Shutdown` closes.
///
/// All calls but the timer's two queries are made under the sink lock, so that callbacks never overlap. Nobody holds
/// the state lock when calling. `Shutdown` never takes the sink lock: a callback that blocks cannot block it.
#pragma once

#include <atomic>
#include <functional>
#include <initializer_list>

#include "photometer/IPhotometerSink.h"
#include "platform/Platform.h"

namespace photometer {

using SinkCall = std::function<void(IPhotometerSink&)>;

/// `OnNotify` as one of several calls under one hold of the sink lock.
SinkCall NotifyCall(DWORD dwRequestId, DWORD dwCode, DWORD dwValue);

class HostSink {
 public:
  HostSink();
  ~HostSink();
  HostSink(const HostSink&) = delete;
  HostSink& operator=(const HostSink&) = delete;

  /// Null unregisters. A callback that has begun may still be running afterwards.
  void SetSink(IPhotometerSink* pSink) { m_pSink = pSink; }

  /// Makes the call under the sink lock, if a sink is registered and the gate is open.
  void Notify(const SinkCall& call) { Notify({call}); }
  /// Makes several calls under one hold of the lock; the gate is looked at before each.
  void Notify(std::initializer_list<SinkCall> calls);
  /// Makes the call without the sink lock, beside other callbacks: for the timer's two queries.
  void Query(const SinkCall& call);
  /// `OnNotify` alone.
  void NotifyCode(DWORD dwRequestId, DWORD dwCode, DWORD dwValue);

  void OpenGate() { m_bGateOpen = true; }
  /// No call begins from now on.
  void CloseGate() { m_bGateOpen = false; }

  /// The calling thread is inside a callback.
  [[nodiscard]] bool IsInsideCallback() const;
  /// From inside a callback: closes the gate, and runs `action` on this thread once the callback has returned. False:
  /// not inside one.
  bool RunAfterCallback(std::function<void()> action);

 private:
  void Call(const SinkCall& call, std::atomic<DWORD>& dwThread);
  /// Runs what the calling thread has put off until after its callback.
  void RunPutOff();

  platform::CRITICAL_SECTION m_csSink;
  std::atomic<IPhotometerSink*> m_pSink{nullptr};
  std::atomic<bool> m_bGateOpen{true};
  /// Threads that are inside a callback and inside a query; 0: none.
  std::atomic<DWORD> m_dwThreadInCallback{0};
  std::atomic<DWORD> m_dwThreadInQuery{0};
  /// The thread that put an action off; 0: none. The action is that thread's alone.
  std::atomic<DWORD> m_dwThreadPutOff{0};
  std::function<void()> m_AfterCallback;
};

}  // namespace photometer
