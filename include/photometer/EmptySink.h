/// A sink whose operations do nothing: derive from it and override what the host wants to hear.
#pragma once

#include "photometer/IPhotometerSink.h"

namespace photometer {

/// Hears nothing, and answers every question with what it finds; `QueryCuvetteWait` with 0.
class EmptySink : public IPhotometerSink {
 public:
  void OnNotify(DWORD, DWORD, DWORD) override {}
  void OnResult(DWORD, const MeasureValues*) override {}
  void OnCuvetteChanged(LONG) override {}
  void OnError(DWORD, DWORD) override {}
  void OnSipperKeyB() override {}
  void OnDelayCountdown(DWORD, DWORD) override {}
  void OnSystemCheckStatus(const SystemCheckStatus*) override {}
  void OnReferenceValues(const std::vector<WavelengthCalibrationEntry>*) override {}
  void OnExternalPortData(const char*, DWORD, std::string*) override {}
  void OnWavelengthCheckDue() override {}
  void GetHostActivity(BOOL*, LONG*) override {}
  void GetHostBusy(BOOL*) override {}
  void OnSipperPortLost() override {}
  void OnSipperTick() override {}
  void OnSipperCycleDone() override {}
  void OnSipperInfoChanged() override {}
  void OnPumpError(DWORD, DWORD) override {}
  void OnLampSwitching(BOOL) override {}
  void OnWarmUpCountdown(DWORD) override {}
  void QueryPumpProgram(DWORD, DWORD*, DWORD*, DWORD*) override {}
  void OnFlushCompleted() override {}
  void OnSipperKeyA() override {}
  void OnUVLampReady(BOOL) override {}
  void OnSipperConnectionChanged(BOOL) override {}
  void GetUVLampWarmUpTime(DWORD*) override {}
  DWORD QueryCuvetteWait() override { return 0; }

 protected:
  ~EmptySink() = default;
};

}  // namespace photometer
