#include "optics/OpticalUnit.h"

#include <algorithm>
#include <limits>

#include "optics/OpticalExchange.h"
#include "optics/UnitValues.h"
#include "state/Deadline.h"

namespace photometer {

/// One row of the command set.
struct OpticalCommand {
  const char* name;
  /// Text before the number; the whole command where there is none.
  const char* prefix;
  LONG iLowest;
  LONG iHighest;
  CacheEntry entry;
  /// After success, ms: the time that the part needs to come to rest.
  DWORD dwPause;
  DWORD dwBase;
  /// An "error" is not believed: it may answer stray bytes of the host, and what lights or lets light through must not
  /// be taken for off.
  bool bDoubtsError = false;

  /// The command failed so that nobody knows whether it was carried out.
  [[nodiscard]] bool LeavesDoubt(DWORD dwCause) const { return dwCause != CAUSE_ERROR || bDoubtsError; }
};

namespace {

constexpr LONG ANY = std::numeric_limits<LONG>::max();

constexpr OpticalCommand FILTER{"SetFilter", "$F", 0, 7, CacheEntry::Filter, 75, 0};
constexpr OpticalCommand OPTO_POWER{"SetOptoPower", "$o", 0, 1, CacheEntry::OptoPower, 500, 10};
constexpr OpticalCommand SHUTTER{"SetShutter", "$H", 0, 1, CacheEntry::Shutter, 50, 20};
constexpr OpticalCommand GAIN{"SetGain", "$g", 0, 1, CacheEntry::Gain, 0, 30};
constexpr OpticalCommand LENGTH{"SetMeasurementLength", "$i", 1, 20, CacheEntry::MeasurementLength, 0, 40};
constexpr OpticalCommand MIRROR{"SetMirror", "$r", 0, 2, CacheEntry::Mirror, 200, 50, true};
constexpr OpticalCommand HALOGEN_OFF{"SetHalogenLamp", "$h", 0, 2, CacheEntry::HalogenLamp, 0, 60, true};
constexpr OpticalCommand HALOGEN_ON{"SetHalogenLamp", "$h", 0, 2, CacheEntry::HalogenLamp, 200, 60, true};
constexpr OpticalCommand HOME{"SetHomePosition", "$z", 0, 0, CacheEntry::None, 0, 80};
constexpr OpticalCommand AD_SPEED{"SetADSpeed", "$A", 0, 9, CacheEntry::ADSpeed, 0, 90};
constexpr OpticalCommand SPEED{"SetMonochromatorSpeed", "$S", 0, ANY, CacheEntry::MonochromatorSpeed, 0, 100};
constexpr OpticalCommand MOVE{"MoveMonochromator", "$M", -1000, 15000, CacheEntry::MonochromatorPosition, 0, 110};
constexpr OpticalCommand RELEASE{"ReleaseMonochromator", "$ ", 0, 0, CacheEntry::None, 0, 120};
constexpr OpticalCommand FAN{"SetFan", "$f", 0, 10, CacheEntry::Fan, 0, 170};
constexpr OpticalCommand TURBIDITY_POWER{"SetTurbidityPower", "$T", 1, 3, CacheEntry::TurbidityPower, 0, 180};
constexpr OpticalCommand TURBIDITY_GAIN{"SetTurbidityGain", "$G", 0, 1, CacheEntry::TurbidityGain, 0, 190};

/// Longest answer of a setting command, bytes.
constexpr DWORD MAX_REPLY = 32;
constexpr std::size_t COMMAND_LIMIT = 31;

constexpr const char* LAMP_SWITCHING = "_SetDeuteriumLamp";
constexpr DWORD DEUTERIUM_BASE = 70;
/// The deuterium lamp did not light.
constexpr DWORD LAMP_NOT_LIT = 77;
/// The lamp's light is looked for here, nm.
constexpr double LAMP_TEST_WAVELENGTH = 220.0;
/// By which the reference channel rises at least when the lamp has lit, counts.
constexpr double LAMP_RISE = 10000.0;
constexpr DWORD LAMP_FAN_LEVEL = 7;
constexpr DWORD COUNTDOWN_STEP = 1000;

constexpr DWORD VERSION_NOT_WRITTEN = 205;

LONG Flag(BOOL b) { return b ? 1 : 0; }

/// As a number of the wire: what does not fit a signed number is out of every range but `ANY`.
LONG Number(DWORD dw) { return static_cast<LONG>(std::min<DWORD>(dw, std::numeric_limits<LONG>::max())); }

}  // namespace

// ---- the family ----

DWORD OpticalUnit::SetFilter(DWORD dwPosition) { return Execute(FILTER, Number(dwPosition)); }
DWORD OpticalUnit::SetOptoPower(BOOL bOn) { return Execute(OPTO_POWER, Flag(bOn)); }
DWORD OpticalUnit::SetShutter(BOOL bClosed) { return Execute(SHUTTER, Flag(bClosed)); }
DWORD OpticalUnit::SetGain(BOOL bHigh) { return Execute(GAIN, Flag(bHigh)); }
DWORD OpticalUnit::SetMeasurementLength(DWORD dwLength) { return Execute(LENGTH, Number(dwLength)); }
DWORD OpticalUnit::SetADSpeed(DWORD dwSpeed) { return Execute(AD_SPEED, Number(dwSpeed)); }
DWORD OpticalUnit::SetMonochromatorSpeed(DWORD dwSpeed) { return Execute(SPEED, Number(dwSpeed)); }
DWORD OpticalUnit::SetFan(DWORD dwLevel) { return Execute(FAN, Number(dwLevel)); }
DWORD OpticalUnit::ReleaseMonochromator() { return SendAlways(RELEASE); }

DWORD OpticalUnit::SetMirror(DWORD dwPosition) {
  m_State.SetLastCommand(MIRROR.name);
  const bool bHasMirror = m_State.Lock()->m_Params.bUV != 0;
  return bHasMirror ? Execute(MIRROR, Number(dwPosition)) : 0;
}

DWORD OpticalUnit::SetHalogenLamp(BOOL bOn, BOOL bHighPower) {
  const LONG iPower = bHighPower ? 2 : 1;
  return bOn ? Execute(HALOGEN_ON, iPower) : Execute(HALOGEN_OFF, 0);
}

DWORD OpticalUnit::SetHomePosition() {
  const DWORD dwResult = SendAlways(HOME);
  if (dwResult != 0 && !HOME.LeavesDoubt(dwResult - HOME.dwBase)) {
    return dwResult;
  }
  const auto state = m_State.Lock();
  for (const CacheEntry entry : {CacheEntry::MonochromatorPosition, CacheEntry::HalogenLamp, CacheEntry::Mirror}) {
    state->m_Cache[entry] = dwResult == 0 ? 0 : UNKNOWN;
  }
  return dwResult;
}

DWORD OpticalUnit::MoveMonochromator(LONG iPosition) { return Execute(MOVE, iPosition); }

void OpticalUnit::MakeSafe() {
  SetMirror(PARKED);
  SetHalogenLamp(FALSE, FALSE);
}

DWORD OpticalUnit::SetTurbidityPower(DWORD dwPower) {
  NKDbgPrintfW("[Photometer] SetTurbidityPower() entered.\n\r");
  return Execute(TURBIDITY_POWER, Number(dwPower));
}

DWORD OpticalUnit::SetTurbidityGain(BOOL bHigh) {
  NKDbgPrintfW("[Photometer] SetTurbidityGain() entered.\n\r");
  return Execute(TURBIDITY_GAIN, Flag(bHigh), bHigh);
}

DWORD OpticalUnit::Execute(const OpticalCommand& command, LONG iValue, LONG iCompared) {
  m_State.SetLastCommand(command.name);
  if (iValue < command.iLowest || iValue > command.iHighest) {
    return command.dwBase + CAUSE_RANGE;
  }
  {
    const auto state = m_State.Lock();
    const LONG iCached = state->m_Cache[command.entry];
    // Position −1 can be asked for, and cannot be told from an unknown one: it is always sent.
    if (iCached == iCompared && iCached != UNKNOWN) {
      return 0;
    }
  }
  const std::string strCommand = FormatText(COMMAND_LIMIT, "%s%d\r", command.prefix, iValue);
  if (const DWORD dwCause = m_Link.SendCommand(strCommand, MAX_REPLY); dwCause != 0) {
    if (command.LeavesDoubt(dwCause)) {  // whatever is asked for next has to be sent
      m_State.Lock()->m_Cache[command.entry] = UNKNOWN;
    }
    return command.dwBase + dwCause;
  }
  if (command.dwPause != 0) {
    m_State.Pause(command.dwPause);
  }
  m_State.Lock()->m_Cache[command.entry] = iValue;
  return 0;
}

DWORD OpticalUnit::SendAlways(const OpticalCommand& command) {
  m_State.SetLastCommand(command.name);
  const DWORD dwCause = m_Link.SendCommand(std::string(command.prefix) + "\r", MAX_REPLY);
  return dwCause == 0 ? 0 : command.dwBase + dwCause;
}

// ---- deuterium lamp ----

DWORD OpticalUnit::SetDeuteriumLamp(BOOL bOn) {
  m_State.SetLastCommand("SetDeuteriumLamp");
  DWORD dwSwitchOffs = 0;
  {
    const auto state = m_State.Lock();
    if (state->m_Cache[CacheEntry::UVLamp] == Flag(bOn)) {
      return 0;
    }
    dwSwitchOffs = state->m_dwUVLampSwitchOffs;
  }
  return AnnounceDeuteriumLamp(bOn, dwSwitchOffs);
}

DWORD OpticalUnit::LightDeuteriumLamp(DWORD dwSwitchOffs) {
  m_State.SetLastCommand("SetDeuteriumLamp");
  {
    const auto state = m_State.Lock();
    if (WasSwitchedOff(dwSwitchOffs)) {
      return LAMP_NOT_LIT;
    }
    if (state->m_Cache[CacheEntry::UVLamp] == 1) {
      return 0;
    }
  }
  return AnnounceDeuteriumLamp(TRUE, dwSwitchOffs);
}

DWORD OpticalUnit::AnnounceDeuteriumLamp(BOOL bOn, DWORD dwSwitchOffs) {
  m_Sink.Notify([](IPhotometerSink& sink) { sink.OnLampSwitching(TRUE); });
  const DWORD dwResult = SwitchDeuteriumLamp(bOn, dwSwitchOffs);
  m_Sink.Notify([](IPhotometerSink& sink) { sink.OnLampSwitching(FALSE); });
  return dwResult;
}

DWORD OpticalUnit::SwitchDeuteriumLamp(BOOL bOn, DWORD dwSwitchOffs) {
  m_State.SetLastCommand(LAMP_SWITCHING);
  const LONG iSpeed = m_State.Lock()->m_Cache[CacheEntry::MonochromatorSpeed];
  const bool bOtherSpeed = iSpeed != static_cast<LONG>(MOVE_SPEED);
  if (bOtherSpeed && SetMonochromatorSpeed(MOVE_SPEED) != 0) {
    return LAMP_NOT_LIT;
  }
  const DWORD dwResult = bOn ? SwitchDeuteriumLampOn(dwSwitchOffs) : SwitchDeuteriumLampOff();
  if (dwResult != 0) {
    return dwResult;
  }
  // A speed that was not known before cannot be put back.
  if (bOtherSpeed && iSpeed != UNKNOWN) {
    if (const DWORD dwCause = SetMonochromatorSpeed(static_cast<DWORD>(iSpeed)); dwCause != 0) {
      return dwCause;
    }
  }
  const DWORD dwNow = GetTickCount();
  m_State.Lock()->m_Status.dwLastActivityTick = dwNow;
  return 0;
}

DWORD OpticalUnit::SwitchDeuteriumLampOff() {
  if (const DWORD dwResult = SendLampCommand(FALSE); dwResult != 0) {
    return dwResult;
  }
  SetFan(0);
  const auto state = m_State.Lock();
  state->m_Cache[CacheEntry::UVLamp] = 0;
  state->EndUVSession();
  return 0;
}

DWORD OpticalUnit::SwitchDeuteriumLampOn(DWORD dwSwitchOffs) {
  WarmUpPosition position;
  if (const DWORD dwResult = MoveToLampPosition(position); dwResult != 0) {
    return dwResult;
  }
  double dBefore = 0.0;
  if (const DWORD dwResult = m_Detectors.GetADValue(nullptr, &dBefore); dwResult != 0) {
    return dwResult;
  }
  DWORD dwResult = SendLampCommand(TRUE);
  if (dwResult == 0) {
    dwResult = WarmUpDeuteriumLamp(dBefore, dwSwitchOffs);
  }
  if (dwResult == 0 && position.bMoved) {
    dwResult = MoveMonochromator(position.iBefore);
  }
  return SettleDeuteriumLamp(dwResult, dwSwitchOffs);
}

DWORD OpticalUnit::SettleDeuteriumLamp(DWORD dwResult, DWORD dwSwitchOffs) {
  {
    const auto state = m_State.Lock();
    const bool bSwitchedOff = WasSwitchedOff(dwSwitchOffs);
    if (dwResult == 0 && !bSwitchedOff) {
      state->m_Cache[CacheEntry::UVLamp] = 1;
      return 0;
    }
    state->m_Cache[CacheEntry::Fan] = UNKNOWN;
    if (bSwitchedOff) {
      state->m_Cache[CacheEntry::UVLamp] = 0;
    }
  }
  // The lamp was told to light and nobody watches over it: it must not stay on.
  m_Link.WriteBetweenExchanges("$d0\r");
  m_Link.WriteBetweenExchanges("$f0\r");
  return dwResult != 0 ? dwResult : LampNotLit();
}

DWORD OpticalUnit::LampNotLit() {
  m_State.SetLastCommand(LAMP_SWITCHING);
  return LAMP_NOT_LIT;
}

DWORD OpticalUnit::SendLampCommand(BOOL bOn) {
  m_State.SetLastCommand(LAMP_SWITCHING);  // a reading of the light came before
  const DWORD dwCause = m_Link.SendCommand(bOn ? "$d1\r" : "$d0\r", MAX_REPLY);
  return dwCause == 0 ? 0 : DEUTERIUM_BASE + dwCause;
}

DWORD OpticalUnit::MoveToLampPosition(WarmUpPosition& position) {
  const LONG iLamp = m_Model.GetMonochromatorPosition(LAMP_TEST_WAVELENGTH);
  position.iBefore = m_State.Lock()->m_Cache[CacheEntry::MonochromatorPosition];
  // An unknown position, −1, counts as beyond the lamp's: the reading is taken where the monochromator stands.
  position.bMoved = static_cast<DWORD>(position.iBefore) < static_cast<DWORD>(iLamp);
  return position.bMoved ? MoveMonochromator(iLamp) : 0;
}

DWORD OpticalUnit::WarmUpDeuteriumLamp(double dBefore, DWORD dwSwitchOffs) {
  NKDbgPrintfW("    Waiting warm up...");
  if (!CountWarmUpDown(dwSwitchOffs)) {
    return LampNotLit();
  }
  NKDbgPrintfW("    Finished warm up...");
  double dAfter = 0.0;
  if (const DWORD dwResult = m_Detectors.GetADValue(nullptr, &dAfter); dwResult != 0) {
    return dwResult;
  }
  if (dAfter - dBefore < LAMP_RISE) {
    return LampNotLit();
  }
  return SetFan(LAMP_FAN_LEVEL);
}

bool OpticalUnit::CountWarmUpDown(DWORD dwSwitchOffs) {
  bool bGoesOn = true;
  for (DWORD n = m_State.Lock()->m_dwWarmUpCountdown; n > 0 && bGoesOn; --n) {
    m_Sink.Notify([n](IPhotometerSink& sink) { sink.OnWarmUpCountdown(n); });
    bGoesOn = m_State.Pause(COUNTDOWN_STEP) && !WasSwitchedOff(dwSwitchOffs);
  }
  m_Sink.Notify([](IPhotometerSink& sink) { sink.OnWarmUpCountdown(0); });
  return bGoesOn;
}

bool OpticalUnit::WasSwitchedOff(DWORD dwSwitchOffs) { return m_State.Lock()->m_dwUVLampSwitchOffs != dwSwitchOffs; }

// ---- firmware version ----

DWORD OpticalUnit::ReadFirmwareVersion() {
  StoreVersion("-");
  OpticalExchange exchange(m_Link, ExchangeKind::Data);
  if (!exchange.Send("$v\r")) {
    return VERSION_NOT_WRITTEN;
  }
  std::string reply;
  if (const DWORD dwResult = CollectVersion(exchange, reply); dwResult != 0) {
    return dwResult;
  }
  StoreVersion(reply.substr(0, reply.find("ok")));
  return 0;
}

DWORD OpticalUnit::CollectVersion(OpticalExchange& exchange, std::string& reply) {
  // Bytes that never hold the answer must not keep the start-up waiting: the limit is for the whole exchange.
  for (const Deadline limit(SILENCE_LIMIT);;) {
    const DWORD dwRest = limit.Rest();
    if (dwRest == 0 || exchange.Receive(reply, dwRest) == OpticalExchange::Arrival::Silence) {
      return exchange.GiveUp(Backlog::Answer, VERSION_SILENCE);
    }
    if (reply.find("ok") != std::string::npos) {
      return 0;
    }
    if (reply.size() > ReceiveBuffer::CAPACITY) {
      reply.erase(0, reply.size() - 1);  // the last byte may be the "o" of an answer still to come
    }
  }
}

void OpticalUnit::StoreVersion(const std::string& reply) {
  const std::u16string version = MultiByteToWideChar(reply);
  const auto state = m_State.Lock();
  auto& szVersion = state->m_Status.szFirmwareVersion;
  std::fill(std::begin(szVersion), std::end(szVersion), u'\0');
  const std::size_t nLength = std::min(version.size(), std::size(szVersion) - 1);
  std::copy_n(version.begin(), nLength, std::begin(szVersion));
}

}  // namespace photometer
