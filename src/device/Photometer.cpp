#include "device/Photometer.h"

#include <atomic>
#include <cmath>
#include <utility>

#include "calibration/HolmiumOxideScan.h"
#include "calibration/SystemCheck.h"
#include "calibration/WavelengthCheck.h"
#include "calibration/WavelengthTest.h"
#include "logging/LogFiles.h"
#include "procedures/Kinetics.h"
#include "procedures/Measure.h"
#include "procedures/Scan.h"
#include "procedures/Turbidity.h"

namespace photometer {

namespace {

/// The interface has one counter for the whole library.
std::atomic<LONG> g_lReferences{0};

/// Zero values belong to a wavelength within less than this, nm.
constexpr double CALIBRATION_TOLERANCE = 0.1;

}  // namespace

Photometer::Photometer()
    : m_pInstrument(Instrument::Create()), m_Instrument(*m_pInstrument), m_Lifecycle(m_pInstrument) {
  NKDbgPrintfW("[Photometer] Constructed.\n\r");
}

Photometer::~Photometer() { NKDbgPrintfW("[Photometer] Destructed.\n\r"); }

// ---- references, status ----

LONG Photometer::AddRef() { return InterlockedIncrement(&g_lReferences); }

LONG Photometer::Release() {
  const LONG lReferences = InterlockedDecrement(&g_lReferences);
  if (lReferences == 0) {
    const auto destroy = [this] {
      m_Lifecycle.ShutdownForRelease();
      delete this;
    };
    if (!m_Instrument.sink.RunAfterCallback(destroy)) {
      destroy();
    }
  }
  return lReferences;
}

DeviceStatus Photometer::GetStatus() {
  const auto state = m_Instrument.state.Lock();
  DeviceStatus status = state->m_Status;
  status.bUVLampOn = state->m_Cache[CacheEntry::UVLamp] == 1 ? TRUE : FALSE;
  return status;
}

PumpInfo Photometer::GetPumpInfo() { return m_Instrument.state.Lock()->m_PumpInfo; }

LONG Photometer::GetUVLampState() { return m_Instrument.state.Lock()->m_Cache[CacheEntry::UVLamp]; }

LONG Photometer::GetCuvetteSize() { return m_Instrument.cuvette.GetCuvetteSize(); }

void Photometer::SetCuvetteSize(LONG iCuvetteSize) { m_Instrument.state.Lock()->m_Status.iCuvetteSize = iCuvetteSize; }

LONG Photometer::GetCuvetteState() { return m_Instrument.cuvette.GetCuvetteState(); }

void Photometer::SetSink(IPhotometerSink* pSink) { m_Instrument.sink.SetSink(pSink); }

HRESULT Photometer::Initialize(const PhotometerParameters* pParams, const CalibrationData* pCalib) {
  return m_Lifecycle.Initialize(pParams, pCalib);
}

HRESULT Photometer::Shutdown() { return m_Lifecycle.Shutdown(); }

// ---- settings ----

HRESULT Photometer::SetExternalPortSettings(DWORD dwBaudRate, DWORD dwByteSize, DWORD dwParity) {
  return m_Instrument.externalPort.SetExternalPortSettings(dwBaudRate, dwByteSize, dwParity);
}

HRESULT Photometer::ResetExternalPortSettings() { return m_Instrument.externalPort.ResetExternalPortSettings(); }

void Photometer::SetPumpParameters(DWORD dwPumpTime, DWORD dwPumpParam2, DWORD dwDelayTime) {
  const auto state = m_Instrument.state.Lock();
  state->m_Params.PumpTime = dwPumpTime;
  state->m_Params.PumpParam2 = dwPumpParam2;
  state->m_Params.DelayTime = dwDelayTime;
}

void Photometer::SetSipperDetected(BOOL bDetected) { m_Instrument.state.Lock()->m_Status.bSipperDetected = bDetected; }

void Photometer::SetPumpDisabled(BOOL bDisabled) { m_Instrument.state.Lock()->m_PumpInfo.m_bPumpDisabled = bDisabled; }

void Photometer::SetOperatingMode(LONG iMode) {
  const auto state = m_Instrument.state.Lock();
  PumpInfo& pump = state->m_PumpInfo;
  const LONG iBefore = std::exchange(pump.m_iOperatingMode, iMode);
  if (iBefore != iMode) {
    state->m_Status.bSipperDetected = FALSE;
    pump.m_strPumpVersion.clear();
    pump.m_strSipperData1.clear();
    pump.m_strSipperData2.clear();
    pump.m_strSipperRunTime.clear();
  }
  if (iMode == MODE_ZQ_420) {
    pump.dwReserved1 = pump.dwReserved2 = pump.dwReserved3 = 0;
  }
}

void Photometer::ResetPumpCycleFlag() { m_Instrument.state.Lock()->m_PumpInfo.m_bPumpCycleReported = FALSE; }

HRESULT Photometer::SetUVSessionTime(DWORD dwSeconds) {
  m_Instrument.state.Lock()->m_Params.dwUVSessionTime = dwSeconds;
  return S_OK;
}

HRESULT Photometer::SetWavelengthCheckInterval(DWORD dwMinutes) {
  m_Instrument.state.Lock()->m_Params.dwWavelengthCheckInterval = dwMinutes;
  return S_OK;
}

HRESULT Photometer::ResetActivityTime() {
  const DWORD dwNow = GetTickCount();
  m_Instrument.state.Lock()->m_Status.dwLastActivityTick = dwNow;
  return S_OK;
}

// ---- calibration ----

HRESULT Photometer::GetWavelengthCalibration(double dWavelength, WavelengthCalibrationEntry* pEntry) {
  if (pEntry == nullptr) {
    return E_POINTER;
  }
  const auto state = m_Instrument.state.Lock();
  if (!state->m_Status.bInitialized) {
    return E_FAIL;
  }
  HRESULT result = E_FAIL;
  for (const WavelengthCalibrationEntry& entry : state->m_WavelengthCalibrations) {
    if (std::fabs(entry.dWavelength - dWavelength) < CALIBRATION_TOLERANCE) {
      *pEntry = entry;
      result = S_OK;
    }
  }
  return result;
}

HRESULT Photometer::SetWavelengthCalibrations(const std::vector<WavelengthCalibrationEntry>* pEntries) {
  if (pEntries == nullptr) {
    return E_POINTER;
  }
  const auto state = m_Instrument.state.Lock();
  if (!state->m_Status.bInitialized) {
    return E_FAIL;
  }
  state->m_WavelengthCalibrations = *pEntries;
  return S_OK;
}

// ---- raw writes and cancel ----

HRESULT Photometer::WriteOpticalPort(const BYTE* pData, DWORD dwLength) {
  if (pData == nullptr) {
    return E_POINTER;
  }
  {
    const auto state = m_Instrument.state.Lock();
    if (state->m_Status.bBusy && !state->m_Status.bInitialized) {
      return E_FAIL;
    }
  }
  m_Instrument.link.WriteBetweenExchanges({reinterpret_cast<const char*>(pData), dwLength});
  return S_OK;
}

HRESULT Photometer::CancelMeasurement() {
  {
    const auto state = m_Instrument.state.Lock();
    if (!state->m_Status.bBusy) {
      return E_FAIL;
    }
    state->m_Status.bCancel = TRUE;
    m_Instrument.state.Signal(&DeviceState::CancelEvent);
    m_Instrument.state.Signal(&DeviceState::PumpCancelEvent);
    m_Instrument.flush.SignalCancel();
  }
  LogPhotometer("[Photometer] Cancel measurement ....");
  return S_OK;
}

HRESULT Photometer::WriteExternalPort(const BYTE* pData, DWORD dwLength) {
  if (dwLength == 0) {
    return S_OK;
  }
  if (pData == nullptr) {
    return E_POINTER;
  }
  return m_Instrument.externalPort.WriteExternalPort({reinterpret_cast<const char*>(pData), dwLength});
}

// ---- lamp and pumps ----

LONG Photometer::SetUVLamp(BOOL bOn, DWORD dwSession) {
  // It asks the host on this thread, and the host may give the device back there.
  const std::shared_ptr<Instrument> pInstrument = m_pInstrument;
  return pInstrument->lamp.SetUVLamp(bOn, dwSession);
}

LONG Photometer::OpenSipperPort() { return m_Lifecycle.OpenSipperPort(); }

void Photometer::SendSipperPing() { m_Instrument.sipperPort.SendSipperPing(); }

void Photometer::RequestSipperRunTime() { m_Instrument.sipperPort.RequestSipperRunTime(); }

void Photometer::RequestSipperData() { m_Instrument.sipperPort.RequestSipperData(); }

HRESULT Photometer::UpdatePumpParameters(DWORD dwPumpTime, DWORD dwPumpParam2) {
  return m_Instrument.pumps.UpdatePumpParameters(dwPumpTime, dwPumpParam2);
}

HRESULT Photometer::StartFlush(DWORD dwFlushTime) { return m_Instrument.flush.StartFlush(dwFlushTime); }

HRESULT Photometer::CancelFlush() { return m_Instrument.flush.CancelFlush(); }

// ---- procedures ----

HRESULT Photometer::StartProcedure(const ProcedureStart& start) {
  const auto state = m_Instrument.state.Lock();
  if (state->m_Status.bBusy || !state->m_Status.bInitialized) {
    return start.refusal;
  }
  start.takeRequest(*state);
  return ClaimAndStart(start.name, start.run, nullptr);
}

HRESULT Photometer::ClaimAndStart(const char* name, const std::function<void(Instrument&)>& run, DWORD* pThreadId) {
  const auto state = m_Instrument.state.Lock();
  state->m_Status.bBusy = TRUE;
  state->m_Status.bCancel = FALSE;
  m_Instrument.state.Reset(&DeviceState::CancelEvent);
  m_Instrument.state.Reset(&DeviceState::PumpCancelEvent);
  if (!m_Instrument.threads.Start(
          name, [&i = m_Instrument, run] { run(i); }, pThreadId)) {
    state->m_Status.bBusy = FALSE;
    return E_FAIL;
  }
  return S_OK;
}

HRESULT Photometer::StartMeasure(const MeasureRequest* pRequest) {
  m_Instrument.state.SetLastCommand("");
  if (const HRESULT result = ValidateMeasureRequest(pRequest, Params()); result != S_OK) {
    return result;
  }
  return StartProcedure(
      {"Measure", E_FAIL, [=](GuardedState& state) { state.m_MeasureRequest = *pRequest; },
       [](Instrument& i) { Measure(i.state, i.sink, i.unit, i.detectors, i.model, i.pumps, i.end).Run(); }});
}

HRESULT Photometer::StartScan(const ScanRequest* pRequest) {
  m_Instrument.state.SetLastCommand("");
  if (const HRESULT result = ValidateScanRequest(pRequest, Params()); result != S_OK) {
    return result;
  }
  if (!HasScanWavelengths(*pRequest, m_Instrument.model)) {
    return E_INVALIDARG;
  }
  return StartProcedure(
      {"ScanProc", E_ACCESSDENIED, [=](GuardedState& state) { state.m_ScanRequest = *pRequest; },
       [](Instrument& i) { Scan(i.state, i.sink, i.link, i.unit, i.detectors, i.model, i.pumps, i.end).ScanProc(); }});
}

HRESULT Photometer::StartHolmiumOxideScan(const HolmiumOxideScanRequest* pRequest) {
  m_Instrument.state.SetLastCommand("");
  if (const HRESULT result = ValidateHolmiumOxideScanRequest(pRequest); result != S_OK) {
    return result;
  }
  return StartProcedure(
      {"HolmiumOxideScan", E_FAIL, [=](GuardedState& state) { state.m_HolmiumOxideScanRequest = *pRequest; },
       [](Instrument& i) { HolmiumOxideScan(i.state, i.sink, i.link, i.unit, i.detectors, i.end).Run(); }});
}

HRESULT Photometer::StartKinetics(const KineticsRequest* pRequest) {
  m_Instrument.state.SetLastCommand("");
  if (const HRESULT result = ValidateKineticsRequest(pRequest, Params()); result != S_OK) {
    return result;
  }
  return StartProcedure(
      {"Kinetics", E_FAIL, [=](GuardedState& state) { state.m_KineticsRequest = *pRequest; },
       [](Instrument& i) { Kinetics(i.state, i.sink, i.unit, i.detectors, i.model, i.pumps, i.end).Run(); }});
}

HRESULT Photometer::StartTurbidityMeasurement(const TurbidityRequest* pRequest) {
  m_Instrument.state.SetLastCommand("");
  if (pRequest == nullptr) {
    return E_POINTER;
  }
  return StartProcedure(
      {"MeasureTurbidityProc", E_FAIL, [=](GuardedState& state) { state.m_TurbidityRequest = *pRequest; },
       [](Instrument& i) { Turbidity(i.state, i.sink, i.unit, i.detectors, i.end).MeasureTurbidityProc(); }});
}

HRESULT Photometer::StartWavelengthCheck(const WavelengthCheckRequest* pRequest) {
  m_Instrument.state.SetLastCommand("");
  if (const HRESULT result = ValidateWavelengthCheckRequest(pRequest, Params()); result != S_OK) {
    return result;
  }
  return StartProcedure(
      {"WavelengthCheckProc", E_FAIL, [=](GuardedState& state) { state.m_WavelengthCheckRequest = *pRequest; },
       [](Instrument& i) { WavelengthCheck(i.state, i.sink, i.spectrum, i.end).WavelengthCheckProc(); }});
}

HRESULT Photometer::StartSystemCheck(const SystemCheckRequest* pRequest) {
  m_Instrument.state.SetLastCommand("");
  if (pRequest == nullptr) {
    return E_POINTER;
  }
  if (!std::isfinite(pRequest->m_dReferencePeak)) {
    return E_INVALIDARG;
  }
  const HRESULT result =
      StartProcedure({"SystemCheckProc", E_FAIL, [=](GuardedState& state) { state.m_SystemCheckRequest = *pRequest; },
                      [](Instrument& i) {
                        SystemCheck(i.state, i.sink, i.unit, i.detectors, i.model, i.peak, i.end).SystemCheckProc();
                      }});
  if (result == S_OK) {
    NKDbgPrintfW("  Starting SystemCheckProc...");
  }
  return result;
}

HRESULT Photometer::StartWaveLengthTest() {
  NKDbgPrintfW("[Photometer] StartWaveLengthTest() entered...");
  const auto run = [](Instrument& i) {
    WavelengthTest(i.state, i.sink, i.unit, i.model, i.spectrum, i.peak, i.zeros, i.end).WaveLengthTestProc();
  };
  DWORD dwThreadId = 0;
  HRESULT result = E_FAIL;
  {
    const auto state = m_Instrument.state.Lock();
    if (!state->m_Status.bBusy && m_Instrument.model.HasTable() && m_Instrument.link.IsOpen()) {
      result = ClaimAndStart("WaveLengthTestProc", run, &dwThreadId);
    }
  }
  if (result == S_OK) {
    NKDbgPrintfW("[Photometer] ThreadId= [%7x]", dwThreadId);
  }
  return result;
}

}  // namespace photometer
