#include "device/Lifecycle.h"

#include <algorithm>
#include <functional>
#include <string>
#include <utility>

#include "calibration/StartUp.h"
#include "logging/LogFiles.h"

namespace photometer {

namespace {

/// How long the threads are given to end, ms. A waiting read takes 0.2 s; only a callback of the host takes longer.
constexpr DWORD THREADS_END_LIMIT = 2500;
/// Between two looks at the turn, ms: a wake-up that is lost costs no more than that.
constexpr DWORD TURN_LOOK = 100;
/// How long a write of the host to the optical port, begun before the stop, is given to end, ms.
constexpr DWORD WRITE_END_LIMIT = 100;

/// The version's text with `?` for control characters: bytes that strayed into the answer must not tear a log line.
std::string OneLine(std::string text) {
  std::ranges::replace_if(
      text, [](char character) { return static_cast<unsigned char>(character) < ' '; }, '?');
  return text;
}

}  // namespace

Lifecycle::Turns::Turns() : hTurn(CreateEventW(FALSE, FALSE, nullptr)) {}

Lifecycle::Turns::~Turns() {
  if (hTurn != 0) {
    CloseHandle(hTurn);
  }
}

void Lifecycle::Turns::GiveBack() {
  bTaken = false;
  SetEvent(hTurn);
}

/// The turn, for as long as it lives.
class Lifecycle::Turn {
 public:
  explicit Turn(std::shared_ptr<Turns> pTurns) : Turn(std::move(pTurns), [] { return false; }) {}
  /// Not taken once waiting is vain.
  Turn(std::shared_ptr<Turns> pTurns, const std::function<bool()>& isVain) : m_pTurns(std::move(pTurns)) {
    while (m_pTurns->bTaken.exchange(true)) {
      if (isVain()) {
        m_bTaken = false;
        return;
      }
      if (WaitForSingleObject(m_pTurns->hTurn, TURN_LOOK) == WAIT_FAILED) {
        Sleep(TURN_LOOK);
      }
    }
  }
  ~Turn() {
    if (m_bTaken) {
      m_pTurns->GiveBack();
    }
  }
  Turn(const Turn&) = delete;
  Turn& operator=(const Turn&) = delete;

  [[nodiscard]] bool IsTaken() const { return m_bTaken; }

 private:
  std::shared_ptr<Turns> m_pTurns;
  bool m_bTaken = true;
};

Lifecycle::Lifecycle(std::shared_ptr<Instrument> pInstrument)
    : m_pInstrument(std::move(pInstrument)), m_Instrument(*m_pInstrument), m_pTurns(std::make_shared<Turns>()) {}

// ---- up ----

HRESULT Lifecycle::Initialize(const PhotometerParameters* pParams, const CalibrationData* pCalib) {
  if (m_Instrument.sink.IsInsideCallback()) {
    return E_FAIL;
  }
  const Turn turn(m_pTurns);
  {
    const auto state = m_Instrument.state.Lock();
    if (state->m_Status.bInitialized) {
      return E_ACCESSDENIED;
    }
    if (pParams == nullptr) {
      return E_POINTER;
    }
    state->m_Params = *pParams;
  }
  if (pCalib == nullptr) {
    return E_POINTER;
  }
  if (!EndEarlierStart()) {
    return E_FAIL;
  }
  StartClean(*pCalib);
  return LiftStop() && BringUp() ? S_OK : E_FAIL;
}

bool Lifecycle::LiftStop() {
  m_Instrument.state.ClearStop();
  m_Instrument.sink.OpenGate();
  if (m_iShutdowns == 0) {
    return true;
  }
  // A `Shutdown` that began before the stop flag was cleared still means this start, and the host wants to hear nothing
  // any more.
  m_Instrument.sink.CloseGate();
  m_Instrument.state.RaiseStop();
  return false;
}

bool Lifecycle::EndEarlierStart() {
  if (!m_bUp) {
    return m_Instrument.threads.WaitUntilEnded(THREADS_END_LIMIT) != FALSE;
  }
  const bool bSwitchOffAgain = StopAndSwitchOff();
  return TakeDown(bSwitchOffAgain, Deadline(THREADS_END_LIMIT));
}

void Lifecycle::StartClean(const CalibrationData& calib) {
  m_bUp = true;
  const auto state = m_Instrument.state.Lock();
  state->m_Calibration = calib;
  state->m_strLastCommand.clear();
  state->m_WavelengthCalibrations.clear();
  state->m_Cache.ForgetAll();
  state->m_Status.bCancel = FALSE;
  state->m_Status.bSipperDetected = FALSE;
  state->m_Status.iCuvetteSize = 0;
  state->EndUVSession();
  PumpInfo pump{};
  pump.m_iOperatingMode = static_cast<LONG>(state->m_Params.dwOperatingMode);
  pump.m_bPumpDisabled = state->m_PumpInfo.m_bPumpDisabled;
  pump.m_dwPumpContactTick = state->m_PumpInfo.m_dwPumpContactTick;
  state->m_PumpInfo = pump;
}

bool Lifecycle::BringUp() {
  LogStart();
  LogPhotometerF(FALSE, "m_dwPositionsCount= %d", static_cast<int>(POSITIONS_COUNT));
  if (!m_Instrument.model.BuildTable() || !m_Instrument.cuvette.OpenCuvetteGpio() || !OpenEvents()) {
    return false;
  }
  // From here on a wavelength test or a warm-up of another thread would find what it needs.
  m_Instrument.state.Lock()->m_Status.bBusy = TRUE;
  m_Instrument.link.OpenOpticalPort();
  m_Instrument.externalPort.OpenExternalPort();
  m_Instrument.sipperPort.OpenSipperPort();
  StartOpticalUnit();
  return StartThreads();
}

void Lifecycle::LogStart() {
  CalibrationData calib;
  {
    const auto state = m_Instrument.state.Lock();
    calib = state->m_Calibration;
  }
  LogSeparator();
  LogPhotometerF(TRUE, "DLL [Photometer] initialize...");
  LogPhotometerF(TRUE, "dReferencePeak= %.3f", calib.dReferencePeak);
  LogPhotometerF(TRUE, "LampSwitchingPoint= %f,  RefMaxWL= %d,  RefMinWL = %d", calib.LampSwitchingPoint,
                 calib.RefMaxWL, calib.RefMinWL);
}

bool Lifecycle::OpenEvents() {
  for (ReceiveBuffer* pBuffer :
       {&m_Instrument.opticalBuffer, &m_Instrument.externalBuffer, &m_Instrument.sipperBuffer}) {
    if (!pBuffer->CreateDataEvent()) {
      return false;
    }
  }
  if (!m_Instrument.state.CreateEvents()) {
    return false;
  }
  // A stop that was raised before the events existed has not signalled them.
  return !m_Instrument.state.IsStopping();
}

void Lifecycle::StartOpticalUnit() {
  const DWORD dwResult = m_Instrument.unit.ReadFirmwareVersion();
  const std::u16string version = m_Instrument.state.Lock()->m_Status.szFirmwareVersion;
  LogPhotometerF(TRUE, "Firmware Version [%s],  iResult= %d", OneLine(WideCharToMultiByte(version)).c_str(),
                 static_cast<int>(dwResult));
  if (m_Instrument.state.IsStopping()) {
    return;
  }
  if (dwResult == VERSION_SILENCE) {
    m_Instrument.link.WriteOpticalRaw("$o1\r");  // nobody answers: a second minute of silence would tell nothing new
  } else {
    m_Instrument.unit.SetOptoPower(TRUE);
  }
}

bool Lifecycle::StartThreads() {
  Instrument& i = m_Instrument;
  const auto runTimer = [&i] { Timer(i.state, i.sink, i.lamp, i.externalPort, i.sipperPort).Run(); };
  const auto runStartUp = [&i] {
    StartUp(i.state, i.sink, i.unit, i.model, i.spectrum, i.peak, i.zeros, i.end).InitProc();
  };
  return !i.state.IsStopping() && i.threads.Start("Timer", runTimer) &&
         i.threads.Start("CuvetteReader", [&i] { i.cuvette.CuvetteReader(); }) &&
         i.threads.Start("InitProc", runStartUp);
}

// ---- down ----

HRESULT Lifecycle::Shutdown() {
  if (m_Instrument.sink.IsInsideCallback()) {
    return E_FAIL;
  }
  ++m_iShutdowns;
  const bool bSwitchOffAgain = StopAndSwitchOff();
  const Deadline limit(THREADS_END_LIMIT);
  {
    const Turn turn(m_pTurns);
    TakeDown(bSwitchOffAgain, limit);
    --m_iShutdowns;
  }
  return S_OK;
}

LONG Lifecycle::OpenSipperPort() {
  const auto isDown = [this] { return !m_bUp || m_Instrument.state.IsStopping(); };
  // A callback may ask while the turn's owner, on his way down or up, waits for the callback's thread.
  const Turn turn(m_pTurns, isDown);
  return turn.IsTaken() && !isDown() ? m_Instrument.sipperPort.OpenSipperPort() : 0;
}

void Lifecycle::ShutdownForRelease() {
  if (m_bUp) {
    Shutdown();
    return;
  }
  // A flush runs on a device that was never initialised, too: it must not call a sink that its host is about to free.
  m_Instrument.sink.CloseGate();
  m_Instrument.state.RaiseStop();
  m_Instrument.threads.WaitUntilEnded(THREADS_END_LIMIT);
}

bool Lifecycle::StopAndSwitchOff() {
  m_Instrument.sink.CloseGate();
  m_Instrument.state.RaiseStop();
  bool bSwitchOffAgain = false;
  {
    const auto state = m_Instrument.state.Lock();
    // Whoever has the line now may write after the first switch-off.
    bSwitchOffAgain = state->m_Status.bBusy != 0 || m_Instrument.link.IsClaimed();
    state->m_Status.bInitialized = FALSE;
  }
  SwitchAllOff();
  return bSwitchOffAgain;
}

void Lifecycle::SwitchAllOff() {
  m_Instrument.link.SwitchOff();
  m_Instrument.link.WriteOpticalRaw("$ \r");
}

bool Lifecycle::TakeDown(bool bSwitchOffAgain, const Deadline& limit) {
  // An `Initialize` that was on its way has set it since.
  bSwitchOffAgain = bSwitchOffAgain || m_Instrument.state.Lock()->m_Status.bBusy != 0;
  const bool bEnded = m_Instrument.threads.WaitUntilEnded(limit.Rest()) != FALSE;
  m_Instrument.link.AwaitClaims(WRITE_END_LIMIT);
  if (bSwitchOffAgain) {
    SwitchAllOff();
  }
  {
    const auto state = m_Instrument.state.Lock();
    state->m_Status.bInitialized = FALSE;
    state->m_Status.bBusy = FALSE;
  }
  m_Instrument.model.FreeTable();
  m_Instrument.opticalBuffer.CloseDataEvent();
  m_Instrument.externalBuffer.CloseDataEvent();
  m_Instrument.sipperBuffer.CloseDataEvent();
  m_Instrument.state.CloseEvents();
  m_Instrument.link.CloseOpticalPort();
  m_Instrument.externalPort.CloseExternalPort();
  m_Instrument.sipperPort.CloseSipperPort();
  m_Instrument.cuvette.CloseCuvetteGpio();
  m_bUp = !bEnded;
  return bEnded;
}

}  // namespace photometer
