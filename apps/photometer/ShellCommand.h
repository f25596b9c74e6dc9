/// `photometer shell`: one start-up, then commands as a person types them.
#pragma once

#include "BoardOptions.h"
#include "Command.h"
#include "InstrumentOptions.h"

namespace host {

class ShellCommand final : public Command {
 public:
  void AddOptions(CLI::App& app) override;
  void Check() override;
  /// `Success` unless nothing could be started, the process was asked to end, the board found a fault, or results were
  /// lost: a command that failed does not end the shell.
  ExitCode Run(Console& console) override;
  [[nodiscard]] bool RunsLines() const override { return true; }

 private:
  BoardOptions m_board;
  InstrumentOptions m_instrument;
};

}  // namespace host
