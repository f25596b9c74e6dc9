/// What all parts of the device share: the state under the state lock, the device's events and its stop flag.
///
/// The state is reached through `Lock()` alone, which holds the state lock for as long as the result lives:
///
///     m_State.Lock()->m_Status.bBusy            one field
///     const auto state = m_State.Lock();        several, together
///
/// The lock is held for short copy-and-set steps only: never across a serial exchange, a wait, a file, the registry or
/// a callback. It is recursive. A callback may take it; nobody makes a callback while holding it.
#pragma once

#include <array>
#include <atomic>
#include <string>
#include <string_view>
#include <vector>

#include "photometer/Records.h"
#include "photometer/Requests.h"
#include "platform/Platform.h"
#include "state/StateCache.h"

namespace photometer {

using namespace platform;  // NOLINT(google-build-using-namespace): the layer's names are the library's own vocabulary

/// How `m_ScanRange` names the range of the filter spectrum.
enum class ScanRangeMode : DWORD { FirstAndLast = 0, CentreAndHalfWidth = 1 };

/// Length of the deuterium lamp's warm-up unless a session sets it, s.
inline constexpr DWORD DEFAULT_WARM_UP_COUNTDOWN = 90;

/// The deuterium lamp's session: `m_dwUVSession` is 0 without one. Times in s, the start as a tick.
struct UVSession {
  DWORD m_dwUVSession = 0;
  DWORD m_dwUVSessionStartTick = 0;
  DWORD m_dwUVWarmUpLimit = 0;
  DWORD m_dwWarmUpCountdown = DEFAULT_WARM_UP_COUNTDOWN;
};

/// Guarded by the state lock.
struct GuardedState : UVSession {
  DeviceStatus m_Status{};
  PhotometerParameters m_Params{};
  PumpInfo m_PumpInfo{};
  StateCache m_Cache;
  CalibrationData m_Calibration{};
  MeasureRequest m_MeasureRequest{};
  ScanRequest m_ScanRequest{};
  KineticsRequest m_KineticsRequest{};
  WavelengthCheckRequest m_WavelengthCheckRequest{};
  TurbidityRequest m_TurbidityRequest{};
  HolmiumOxideScanRequest m_HolmiumOxideScanRequest{};
  SystemCheckRequest m_SystemCheckRequest{};
  ScanRangeMode m_iScanRangeMode = ScanRangeMode::FirstAndLast;
  std::vector<double> m_ScanRange;
  DWORD m_dwFlushTime = 0;
  /// Receive buffers whose bytes a pump exchange takes.
  DWORD m_dwPumpCaptures = 0;
  std::vector<WavelengthCalibrationEntry> m_WavelengthCalibrations;
  /// Counts the switch-offs of the deuterium lamp by host and timer: a warm-up that sees it change has lost.
  DWORD m_dwUVLampSwitchOffs = 0;
  std::string m_strLastCommand;

  /// With the lamp's end, however it came: a later switch-on has nothing to do with that session.
  void EndUVSession() { static_cast<UVSession&>(*this) = {}; }
};

class DeviceState {
 public:
  /// Holds the state lock for as long as it lives.
  class Access {
   public:
    explicit Access(DeviceState& state) : m_State(state) { EnterCriticalSection(&m_State.m_csState); }
    ~Access() { LeaveCriticalSection(&m_State.m_csState); }
    Access(const Access&) = delete;
    Access& operator=(const Access&) = delete;

    GuardedState* operator->() const { return &m_State.m_Guarded; }
    GuardedState& operator*() const { return m_State.m_Guarded; }

   private:
    DeviceState& m_State;
  };

  DeviceState();
  ~DeviceState();
  DeviceState(const DeviceState&) = delete;
  DeviceState& operator=(const DeviceState&) = delete;

  [[nodiscard]] Access Lock() { return Access(*this); }

  /// A cancel waits to be noticed.
  BOOL IsCancelled();
  /// Name of the optical command that runs, for error reports.
  void SetLastCommand(std::string_view name);
  std::string LastCommand();

  // ---- events: created by `Initialize`, closed by `Shutdown`; 0 when there are none ----

  /// Creates the five events, none signalled. False: one could not be created; those before it stay.
  BOOL CreateEvents();
  /// State lock: nobody uses one meanwhile.
  void CloseEvents();
  [[nodiscard]] HANDLE StopEvent() const { return m_hStopEvent; }
  [[nodiscard]] HANDLE CancelEvent() const { return m_hCancelEvent; }
  [[nodiscard]] HANDLE PumpCancelEvent() const { return m_hPumpCancelEvent; }
  [[nodiscard]] HANDLE SipperLostEvent() const { return m_hSipperLostEvent; }
  [[nodiscard]] HANDLE WarmUpDoneEvent() const { return m_hWarmUpDoneEvent; }
  /// Names one of them: `&DeviceState::CancelEvent`.
  using Event = HANDLE (DeviceState::*)() const;
  /// Signals the event, if there is one. State lock.
  void Signal(Event event);
  /// Resets it, unless the device stops: what the stop has signalled stays so. State lock.
  void Reset(Event event);

  // ---- stopping ----

  /// Tells all threads to end and wakes their waits. State lock.
  void RaiseStop();
  /// Before the threads of a new start.
  void ClearStop() { m_bStopThreads = FALSE; }
  [[nodiscard]] BOOL IsStopping() const { return m_bStopThreads; }
  /// Sleeps, or returns at once when the device stops. True: the whole time has passed.
  BOOL Pause(DWORD dwMilliseconds) const;

 private:
  /// In the order in which they are created.
  std::array<std::atomic<HANDLE>*, 5> Events();

  CRITICAL_SECTION m_csState;
  GuardedState m_Guarded;
  std::atomic<HANDLE> m_hStopEvent{0};
  std::atomic<HANDLE> m_hCancelEvent{0};
  std::atomic<HANDLE> m_hPumpCancelEvent{0};
  std::atomic<HANDLE> m_hSipperLostEvent{0};
  std::atomic<HANDLE> m_hWarmUpDoneEvent{0};
  std::atomic<BOOL> m_bStopThreads{FALSE};
};

}  // namespace photometer
