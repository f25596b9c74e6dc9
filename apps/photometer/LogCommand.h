/// `photometer log`: the device log or the error list of an instrument, for people or as JSON.
#pragma once

#include <string>

#include "Command.h"
#include "InstrumentFolder.h"
#include "LogEntry.h"

namespace host {

class LogCommand final : public Command {
 public:
  void AddOptions(CLI::App& app) override;
  void Check() override;
  ExitCode Run(Console& console) override;

 private:
  /// Writes the entries of one file. False: there is none, or it cannot be read.
  bool List(const std::string& path, Console& console);
  void Write(const LogEntry& entry, const std::string& path, int iLine, Console& console);

  InstrumentFolder m_folder;
  std::string m_strSince;
  bool m_bErrors = false;
  bool m_bJson = false;
  /// What has been written and seen so far.
  bool m_bFirst = true;
  int m_nDamaged = 0;
};

}  // namespace host
