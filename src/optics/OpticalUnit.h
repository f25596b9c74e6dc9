/// The command set of the optical unit: filter, shutter, gain, mirror, lamps, fan, monochromator, turbidity channel.
///
/// Each operation names itself as the last command, sends one command and, once the unit has acknowledged it, remembers
/// the value in the state cache; a value that is cached already is not sent again. Results are 0 or the command's base
/// plus a cause (see OpticalLink.h): 1 out of range, 2 silence, 3 answer too long, 4 "error", 5 not written. After a
/// failure that leaves in doubt whether the command was carried out the value is unknown. The caller is the only
/// procedure that drives the unit; no lock is held across an exchange.
#pragma once

#include "calibration/WavelengthModel.h"
#include "optics/Detectors.h"
#include "optics/OpticalLink.h"
#include "state/DeviceState.h"
#include "state/HostSink.h"

namespace photometer {

/// The firmware version was not told within its time.
inline constexpr DWORD VERSION_SILENCE = 202;

struct OpticalCommand;

class OpticalUnit {
 public:
  OpticalUnit(DeviceState& state, HostSink& sink, OpticalLink& link, Detectors& detectors, const WavelengthModel& model)
      : m_State(state), m_Sink(sink), m_Link(link), m_Detectors(detectors), m_Model(model) {}

  /// Position of the filter wheel, 0 to 7. 0 or 1 to 5; pauses 75 ms.
  DWORD SetFilter(DWORD dwPosition);
  /// Power of the optical unit. 0 or 12 to 15; pauses 500 ms.
  DWORD SetOptoPower(BOOL bOn);
  /// Closed (not 0) or open. 0 or 22 to 25; pauses 50 ms.
  DWORD SetShutter(BOOL bClosed);
  /// High (not 0) or low gain of the detectors. 0 or 32 to 35.
  DWORD SetGain(BOOL bHigh);
  /// Readings that are averaged into one, 1 to 20. 0 or 41 to 45.
  DWORD SetMeasurementLength(DWORD dwLength);
  /// 0 parked, 1 halogen lamp, 2 deuterium lamp. Without the deuterium path nothing is sent. 0 or 51 to 55; pauses 200
  /// ms.
  DWORD SetMirror(DWORD dwPosition);
  /// 0 or 62 to 65; pauses 200 ms when switching on.
  DWORD SetHalogenLamp(BOOL bOn, BOOL bHighPower);
  /// The end of every run: parks the mirror and switches the halogen lamp off. Failures are ignored.
  void MakeSafe();
  /// Switches the deuterium lamp; on: waits for its warm-up (90 s unless a session set it) and looks whether it has
  /// lit. The host hears `OnLampSwitching` and `OnWarmUpCountdown`. 0; 72 to 75; 77 when the monochromator's speed
  /// could not be set, the lamp did not light or was switched off during the warm-up, or the device stops; or the
  /// number of another command.
  DWORD SetDeuteriumLamp(BOOL bOn);
  /// Switches it on for a caller who was asked to earlier, when the count of switch-offs was `dwSwitchOffs`: 77 when
  /// the lamp has been switched off since, else as `SetDeuteriumLamp`.
  DWORD LightDeuteriumLamp(DWORD dwSwitchOffs);
  /// Seeks the monochromator's home position. 0 or 82 to 85.
  DWORD SetHomePosition();
  /// Speed of the converter, 0 to 9. 0 or 91 to 95.
  DWORD SetADSpeed(DWORD dwSpeed);
  /// 0 or 102 to 105.
  DWORD SetMonochromatorSpeed(DWORD dwSpeed);
  /// Position, −1000 to 15000 steps. 0 or 111 to 115.
  DWORD MoveMonochromator(LONG iPosition);
  /// Takes the current off the monochromator's motor. 0 or 122 to 125.
  DWORD ReleaseMonochromator();
  /// Level of the fan, 0 to 10. 0 or 171 to 175.
  DWORD SetFan(DWORD dwLevel);
  /// Power of the turbidity lamp, 1 to 3. 0 or 181 to 185.
  DWORD SetTurbidityPower(DWORD dwPower);
  /// 0 or 192 to 195.
  DWORD SetTurbidityGain(BOOL bHigh);
  /// Reads the firmware's version into the status. 0; 202 without an answer within 60 s; 205 when not written.
  DWORD ReadFirmwareVersion();

 private:
  /// What a deuterium lamp switch-on changes on its way and puts back.
  struct WarmUpPosition {
    LONG iBefore = UNKNOWN;
    bool bMoved = false;
  };

  /// The common body: range, cache, exchange, pause. `iCompared` is what the cache is compared with.
  DWORD Execute(const OpticalCommand& command, LONG iValue, LONG iCompared);
  DWORD Execute(const OpticalCommand& command, LONG iValue) { return Execute(command, iValue, iValue); }
  /// Under its name: the exchange alone, without the cache.
  DWORD SendAlways(const OpticalCommand& command);
  /// The switching itself, with the host told before and after.
  DWORD AnnounceDeuteriumLamp(BOOL bOn, DWORD dwSwitchOffs);
  /// With the monochromator at its fast speed; the one before is put back.
  DWORD SwitchDeuteriumLamp(BOOL bOn, DWORD dwSwitchOffs);
  DWORD SwitchDeuteriumLampOff();
  DWORD SwitchDeuteriumLampOn(DWORD dwSwitchOffs);
  DWORD SendLampCommand(BOOL bOn);
  /// The lamp, not the command before, is what failed.
  DWORD LampNotLit();
  DWORD MoveToLampPosition(WarmUpPosition& position);
  /// From the lamp command on: waits, looks for the light, and switches the fan on.
  DWORD WarmUpDeuteriumLamp(double dBefore, DWORD dwSwitchOffs);
  /// The lamp is on for good, or it failed or was switched off meanwhile, and is told to be off.
  DWORD SettleDeuteriumLamp(DWORD dwResult, DWORD dwSwitchOffs);
  /// The host hears the seconds, last 0. False: the lamp was switched off meanwhile, or the device stops.
  bool CountWarmUpDown(DWORD dwSwitchOffs);
  bool WasSwitchedOff(DWORD dwSwitchOffs);
  DWORD CollectVersion(OpticalExchange& exchange, std::string& reply);
  void StoreVersion(const std::string& reply);

  DeviceState& m_State;
  HostSink& m_Sink;
  OpticalLink& m_Link;
  Detectors& m_Detectors;
  const WavelengthModel& m_Model;
};

}  // namespace photometer
