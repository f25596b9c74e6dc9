/// The device object: the 42 operations in their order, each passed on to the part that owns it.
#pragma once

#include <functional>
#include <memory>

#include "device/Instrument.h"
#include "device/Lifecycle.h"
#include "photometer/IPhotometer.h"

namespace photometer {

class Photometer final : public IPhotometer {
 public:
  Photometer();
  ~Photometer();
  Photometer(const Photometer&) = delete;
  Photometer& operator=(const Photometer&) = delete;

  /// The object can be used: what it needs from the start could be had.
  [[nodiscard]] bool IsUsable() const { return m_Lifecycle.IsUsable(); }

  LONG AddRef() override;
  LONG Release() override;
  DeviceStatus GetStatus() override;
  PumpInfo GetPumpInfo() override;
  LONG GetUVLampState() override;
  LONG GetCuvetteSize() override;
  void SetCuvetteSize(LONG iCuvetteSize) override;
  LONG SetUVLamp(BOOL bOn, DWORD dwSession) override;
  void SetSink(IPhotometerSink* pSink) override;
  HRESULT Initialize(const PhotometerParameters* pParams, const CalibrationData* pCalib) override;
  HRESULT Shutdown() override;
  HRESULT SetExternalPortSettings(DWORD dwBaudRate, DWORD dwByteSize, DWORD dwParity) override;
  HRESULT ResetExternalPortSettings() override;
  void SetPumpParameters(DWORD dwPumpTime, DWORD dwPumpParam2, DWORD dwDelayTime) override;
  void SetSipperDetected(BOOL bDetected) override;
  void SetPumpDisabled(BOOL bDisabled) override;
  void SetOperatingMode(LONG iMode) override;
  void SendSipperPing() override;
  void RequestSipperRunTime() override;
  void RequestSipperData() override;
  HRESULT StartFlush(DWORD dwFlushTime) override;
  HRESULT CancelFlush() override;
  void ResetPumpCycleFlag() override;
  HRESULT SetUVSessionTime(DWORD dwSeconds) override;
  LONG GetCuvetteState() override;
  HRESULT CancelMeasurement() override;
  HRESULT GetWavelengthCalibration(double dWavelength, WavelengthCalibrationEntry* pEntry) override;
  HRESULT SetWavelengthCalibrations(const std::vector<WavelengthCalibrationEntry>* pEntries) override;
  HRESULT WriteOpticalPort(const BYTE* pData, DWORD dwLength) override;
  HRESULT WriteExternalPort(const BYTE* pData, DWORD dwLength) override;
  HRESULT StartMeasure(const MeasureRequest* pRequest) override;
  HRESULT StartScan(const ScanRequest* pRequest) override;
  HRESULT StartHolmiumOxideScan(const HolmiumOxideScanRequest* pRequest) override;
  HRESULT StartKinetics(const KineticsRequest* pRequest) override;
  HRESULT StartTurbidityMeasurement(const TurbidityRequest* pRequest) override;
  HRESULT StartWavelengthCheck(const WavelengthCheckRequest* pRequest) override;
  HRESULT StartSystemCheck(const SystemCheckRequest* pRequest) override;
  HRESULT UpdatePumpParameters(DWORD dwPumpTime, DWORD dwPumpParam2) override;
  HRESULT SetWavelengthCheckInterval(DWORD dwMinutes) override;
  HRESULT StartWaveLengthTest() override;
  HRESULT ResetActivityTime() override;
  LONG OpenSipperPort() override;

 private:
  /// What a start operation does when the request is sound: refuses while busy or not initialised, else claims the
  /// device, takes the request over and starts the thread.
  struct ProcedureStart {
    const char* name;
    HRESULT refusal;
    std::function<void(GuardedState&)> takeRequest;
    std::function<void(Instrument&)> run;
  };
  HRESULT StartProcedure(const ProcedureStart& start);
  /// State lock held, device not busy: marks it busy and starts the thread. E_FAIL: the device stops, or the thread
  /// cannot be created.
  HRESULT ClaimAndStart(const char* name, const std::function<void(Instrument&)>& run, DWORD* pThreadId);
  [[nodiscard]] PhotometerParameters Params() { return m_Instrument.state.Lock()->m_Params; }

  std::shared_ptr<Instrument> m_pInstrument;
  Instrument& m_Instrument;
  Lifecycle m_Lifecycle;
};

}  // namespace photometer
