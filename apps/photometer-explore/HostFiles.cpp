#include "HostFiles.h"

#include <string>

#include "logging/LogFiles.h"
#include "photometer/Settings.h"

namespace explorer {

using namespace photometer;  // NOLINT(google-build-using-namespace): the interface's own vocabulary

namespace {

/// A line reaches it, bytes.
constexpr DWORD BackupLimit = 16;
constexpr const char* Property = "whole settings";

}  // namespace

void HostFiles::KeepLogs() {
  PrepareLogFiles();
  BackupLogFile(DeviceLogPath, BackupLimit);
  InitRoboterLog(u"none");
  LogRoboter("\x02h;a\x03", 5, RoboterReceived);
  LogGeneral("The host runs.", TRUE);
}

void HostFiles::KeepSettings() {
  if (!m_bInUse.exchange(true)) {
    WriteAndRead();
    m_bInUse = false;
  }
}

void HostFiles::WriteAndRead() {
  InstrumentSettings settings;
  SetDefaultSettings(&settings);
  settings.LowerFilterWL = settings.VolumeMultiplier = ++m_lNumber;
  const bool bWritten = WriteSettings(&settings) == S_OK;
  m_bWritten = m_bWritten || bWritten;
  if (ReadSettings(&settings) != S_OK) {
    return;
  }
  const LONG lRead = settings.LowerFilterWL;
  if (lRead != settings.VolumeMultiplier || (bWritten && lRead != m_lNumber)) {
    m_ledger.NoteViolation(Property, "record " + std::to_string(m_lNumber) + " is read as " + std::to_string(lRead));
  }
}

void HostFiles::CheckSettings() {
  InstrumentSettings settings;
  SetDefaultSettings(&settings);
  if (m_bWritten && ReadSettings(&settings) != S_OK) {
    m_ledger.NoteViolation(Property, "the file that was written is there no more, or in part");
  }
}

}  // namespace explorer
