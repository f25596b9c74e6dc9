#include "state/HostSink.h"

#include <utility>

namespace photometer {

using namespace platform;

namespace {

/// Holds the sink lock for as long as it lives.
class SinkLock {
 public:
  explicit SinkLock(CRITICAL_SECTION& csSink) : m_csSink(csSink) { EnterCriticalSection(&m_csSink); }
  ~SinkLock() { LeaveCriticalSection(&m_csSink); }
  SinkLock(const SinkLock&) = delete;
  SinkLock& operator=(const SinkLock&) = delete;

 private:
  CRITICAL_SECTION& m_csSink;
};

}  // namespace

SinkCall NotifyCall(DWORD dwRequestId, DWORD dwCode, DWORD dwValue) {
  return [=](IPhotometerSink& sink) { sink.OnNotify(dwRequestId, dwCode, dwValue); };
}

HostSink::HostSink() : m_csSink{} { InitializeCriticalSection(&m_csSink, "m_csSink"); }

HostSink::~HostSink() { DeleteCriticalSection(&m_csSink); }

void HostSink::Notify(std::initializer_list<SinkCall> calls) {
  {
    const SinkLock lock(m_csSink);
    for (const SinkCall& call : calls) {
      Call(call, m_dwThreadInCallback);
    }
  }
  RunPutOff();
}

void HostSink::Query(const SinkCall& call) {
  Call(call, m_dwThreadInQuery);
  RunPutOff();
}

void HostSink::NotifyCode(DWORD dwRequestId, DWORD dwCode, DWORD dwValue) {
  Notify(NotifyCall(dwRequestId, dwCode, dwValue));
}

bool HostSink::IsInsideCallback() const {
  const DWORD dwThread = GetCurrentThreadId();
  return dwThread == m_dwThreadInCallback || dwThread == m_dwThreadInQuery;
}

bool HostSink::RunAfterCallback(std::function<void()> action) {
  if (!IsInsideCallback()) {
    return false;
  }
  CloseGate();
  m_AfterCallback = std::move(action);
  m_dwThreadPutOff = GetCurrentThreadId();
  return true;
}

void HostSink::RunPutOff() {
  if (m_dwThreadPutOff != GetCurrentThreadId() || IsInsideCallback()) {
    return;
  }
  m_dwThreadPutOff = 0;
  // The action may destroy the device, and with it this object.
  const std::function<void()> action = std::exchange(m_AfterCallback, nullptr);
  action();
}

void HostSink::Call(const SinkCall& call, std::atomic<DWORD>& dwThread) {
  // A callback may call an operation that calls back: the outer one stays marked afterwards.
  const DWORD dwOuter = dwThread.exchange(GetCurrentThreadId());
  IPhotometerSink* const pSink = m_pSink;
  try {
    if (pSink != nullptr && m_bGateOpen) {  // looked at last: once the gate is closed, nothing begins
      call(*pSink);
    }
  } catch (...) {  // a host's fault must not take the instrument down with the lamps on
    NKDbgPrintfW("[Photometer] a callback of the host threw an exception.\n\r");
  }
  dwThread = dwOuter;
}

}  // namespace photometer
