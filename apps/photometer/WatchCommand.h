/// `photometer watch`: tells what happens at the instrument, as it happens.
#pragma once

#include <optional>
#include <string>

#include "EventLog.h"
#include "LiveCommand.h"

namespace host {

class WatchCommand final : public LiveCommand {
 public:
  WatchCommand() : LiveCommand("watch") {}

 private:
  void AddOwnOptions(CLI::App& app) override;
  void CheckOwn() override;
  ExitCode Operate(Bench& bench) override;

  void Tell(const HostEvent& event, photometer::IPhotometer& device, EventLog& log);

  std::optional<DWORD> m_dwSeconds;
  bool m_bPortLost = false;
};

}  // namespace host
