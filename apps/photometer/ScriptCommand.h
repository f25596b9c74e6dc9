/// `photometer run`: one start-up, then the commands of a script.
#pragma once

#include <optional>
#include <string>

#include "BoardOptions.h"
#include "Command.h"
#include "InstrumentOptions.h"
#include "Script.h"

namespace host {

class ScriptCommand final : public Command {
 public:
  void AddOptions(CLI::App& app) override;
  /// Reads and checks the script, from standard input when its name is "-".
  void Check() override;
  ExitCode Run(Console& console) override;
  [[nodiscard]] bool RunsLines() const override { return true; }

 private:
  BoardOptions m_board;
  InstrumentOptions m_instrument;
  std::string m_strFile;
  bool m_bKeepGoing = false;
  std::optional<Workplace> m_workplace;
  Script m_script;
};

}  // namespace host
