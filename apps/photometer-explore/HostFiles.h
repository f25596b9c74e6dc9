/// What a host does with its files beside the device: it keeps the logs small, writes the robot's log, and stores the
/// settings.
#pragma once

#include <atomic>

#include "Ledger.h"

namespace explorer {

class HostFiles {
 public:
  explicit HostFiles(Ledger& ledger) : m_ledger(ledger) {}

  void KeepLogs();
  /// Writes a record and reads it back. One thread at a time does: a second one leaves at once.
  void KeepSettings();
  /// With everything in order: a file that was ever written can be read.
  void CheckSettings();

 private:
  void WriteAndRead();

  Ledger& m_ledger;
  std::atomic<bool> m_bInUse{false};
  bool m_bWritten = false;
  LONG m_lNumber = 0;
};

}  // namespace explorer
