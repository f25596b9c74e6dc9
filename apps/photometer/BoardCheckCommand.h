/// `photometer board check`: whether everything that the board file names can be used.
#pragma once

#include "BoardOptions.h"
#include "Command.h"

namespace host {

class BoardCheckCommand final : public Command {
 public:
  void AddOptions(CLI::App& app) override;
  void Check() override {}
  ExitCode Run(Console& console) override;

 private:
  BoardOptions m_board;
};

}  // namespace host
