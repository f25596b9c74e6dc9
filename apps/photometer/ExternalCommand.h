/// `photometer external`: a terminal on the external port, when no pump ZQ-410 is attached to it.
#pragma once

#include <string>

#include "ByteText.h"
#include "EventLog.h"
#include "LiveCommand.h"

namespace host {

class ExternalCommand final : public LiveCommand {
 public:
  ExternalCommand() : LiveCommand("external") {}

 private:
  void AddOwnOptions(CLI::App& app) override;
  void CheckOwn() override;
  ExitCode Operate(Bench& bench) override;
  [[nodiscard]] std::optional<BoardPort> NeededPort() const override;

  /// Shows what has arrived; a line that is not complete is shown when nothing has followed for a while.
  void Show(EventLog& log);
  void Send(photometer::IPhotometer& device, const std::string& bytes, EventLog& log);
  /// False: the input has ended, and the line has been quiet since for long enough.
  bool Step(Bench& bench, EventLog& log);
  void TakeInput(Bench& bench, EventLog& log);

  std::string m_strLineEnd = "cr";
  DWORD m_dwLinger = 1;
  ArrivingLines m_lines;
  std::string m_strArrived;
  /// What was typed and is no whole line yet.
  std::string m_strTyped;
  bool m_bInputEnded = false;
  /// Of the last byte in either direction.
  DWORD m_dwLastTick = 0;
};

}  // namespace host
