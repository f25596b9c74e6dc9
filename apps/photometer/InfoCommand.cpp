#include "InfoCommand.h"

#include <cmath>

#include "ErrorTexts.h"
#include "EventText.h"
#include "LampCounters.h"
#include "PumpIntake.h"
#include "PumpState.h"
#include "logging/LogFiles.h"
#include "platform/Platform.h"

namespace host {

namespace {

namespace layer = photometer::platform;

constexpr double SecondsPerHour = 3600;

/// A counter of the registry in h, to two decimals; nothing when there is none.
ResultCell LampHours(const char16_t* name) {
  layer::HANDLE hKey = 0;
  if (layer::RegOpenKeyExW(LampCounterKey, &hKey) != layer::ERROR_SUCCESS) {
    return {};
  }
  DWORD dwSeconds = 0;
  const bool bFound = layer::RegQueryValueExW(hKey, name, &dwSeconds) == layer::ERROR_SUCCESS;
  layer::RegCloseKey(hKey);
  return bFound ? ResultCell(std::round(dwSeconds / SecondsPerHour * 100) / 100) : ResultCell();
}

std::string LampText(LONG iState) { return iState < 0 ? "unknown" : iState == 0 ? "off" : "on"; }

std::string LibraryVersion() {
  std::string version;
  photometer::GetLibraryVersionText(&version);
  return version;
}

}  // namespace

ExitCode InfoCommand::Operate(Bench& bench) {
  photometer::IPhotometer& device = bench.session.Device();
  AddInstrument(device);
  AddLamps(device);
  if (m_instrument.PumpText() == nullptr) {
    m_rows.push_back({"pump", std::string("none"), ""});
    return ExitCode::Success;
  }
  ExitCode code = ConnectPump(m_instrument, bench.session, bench.progress);
  if (code == ExitCode::Success) {
    code = LearnPump(m_instrument, bench.session, bench.progress);
  }
  for (InfoRow& row : PumpRows(device, m_instrument)) {
    m_rows.push_back(std::move(row));
  }
  return code;
}

void InfoCommand::AddInstrument(photometer::IPhotometer& device) {
  const photometer::DeviceStatus status = device.GetStatus();
  const std::string startUp = status.bInitialized != 0 ? std::string("passed")
                              : m_startUpError         ? "failed: " + ExplainError(*m_startUpError)
                                                       : std::string("failed");
  m_rows.push_back({"library version", LibraryVersion(), ""});
  m_rows.push_back({"firmware", m_header.strFirmware, ""});
  m_rows.push_back({"start-up", startUp, ""});
  m_rows.push_back({"state", std::string(status.bBusy != 0 ? "busy" : "idle"), ""});
  m_rows.push_back({"cuvette", CuvetteText(device.GetCuvetteState()), ""});
}

void InfoCommand::AddLamps(photometer::IPhotometer& device) {
  m_rows.push_back({"halogen lamp hours", LampHours(HalogenCounter), "h"});
  m_rows.push_back({"deuterium lamp hours", LampHours(DeuteriumCounter), "h"});
  const bool bUV = m_instrument.Parameters().bUV != 0;
  m_rows.push_back({"deuterium lamp", bUV ? LampText(device.GetUVLampState()) : std::string("none"), ""});
}

}  // namespace host
