/// The host's sink: notes every callback in the ledger, watches over the rules of callbacks, and lets the host act
/// inside them.
#pragma once

#include <atomic>
#include <functional>
#include <string>

#include "Ledger.h"
#include "photometer/IPhotometerSink.h"

namespace explorer {

class HostSink final : public photometer::IPhotometerSink {
 public:
  HostSink(Ledger& ledger, photometer::platform::Kernel& kernel, DWORD dwWarmUpTime)
      : m_ledger(ledger), m_kernel(kernel), m_dwWarmUpTime(dwWarmUpTime) {}

  /// Runs inside each callback but the two queries, with its number, from 1.
  void OnCallback(std::function<void(std::uint64_t)> action) { m_action = std::move(action); }
  [[nodiscard]] std::uint64_t Callbacks() const { return m_nCallbacks; }
  [[nodiscard]] std::vector<photometer::WavelengthCalibrationEntry> References() const { return m_references; }

  void OnNotify(DWORD dwRequestId, DWORD dwCode, DWORD dwValue) override;
  void OnResult(DWORD dwRequestId, const photometer::MeasureValues* pValues) override;
  void OnCuvetteChanged(LONG iCuvetteSize) override;
  void OnError(DWORD dwRequestId, DWORD dwError) override;
  void OnSipperKeyB() override;
  void OnDelayCountdown(DWORD dwRequestId, DWORD dwSeconds) override;
  void OnSystemCheckStatus(const photometer::SystemCheckStatus* pStatus) override;
  void OnReferenceValues(const std::vector<photometer::WavelengthCalibrationEntry>* pValues) override;
  void OnExternalPortData(const char* pData, DWORD dwLength, std::string* pReply) override;
  void OnWavelengthCheckDue() override;
  void GetHostActivity(photometer::BOOL* pActive, LONG* pCount) override;
  void GetHostBusy(photometer::BOOL* pBusy) override;
  void OnSipperPortLost() override;
  void OnSipperTick() override;
  void OnSipperCycleDone() override;
  void OnSipperInfoChanged() override;
  void OnPumpError(DWORD dwRequestId, DWORD dwError) override;
  void OnLampSwitching(photometer::BOOL bSwitching) override;
  void OnWarmUpCountdown(DWORD dwSeconds) override;
  void QueryPumpProgram(DWORD dwProgram, DWORD* pPumpTime, DWORD* pPumpParam2, DWORD* pDelayTime) override;
  void OnFlushCompleted() override;
  void OnSipperKeyA() override;
  void OnUVLampReady(photometer::BOOL bReady) override;
  void OnSipperConnectionChanged(photometer::BOOL bConnected) override;
  void GetUVLampWarmUpTime(DWORD* pSeconds) override;
  DWORD QueryCuvetteWait() override;

 private:
  void Enter(const char* name, std::int64_t a = 0, std::int64_t b = 0, std::int64_t c = 0);
  void CheckForbidden(const char* name);

  Ledger& m_ledger;
  photometer::platform::Kernel& m_kernel;
  DWORD m_dwWarmUpTime;
  std::function<void(std::uint64_t)> m_action;
  std::uint64_t m_nCallbacks = 0;
  /// The thread that is inside a callback, and how deep.
  DWORD m_dwThread = 0;
  int m_iDepth = 0;
  std::vector<photometer::WavelengthCalibrationEntry> m_references;
};

}  // namespace explorer
