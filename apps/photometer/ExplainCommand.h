/// `photometer explain`: an error number in words, or all of them.
#pragma once

#include <vector>

#include "Arguments.h"
#include "Command.h"
#include "photometer/Types.h"

namespace host {

class ExplainCommand final : public Command {
 public:
  void AddOptions(CLI::App& app) override;
  void Check() override;
  ExitCode Run(Console& console) override;

 private:
  Arguments m_arguments;
  std::vector<photometer::LONG> m_numbers;
  bool m_bJson = false;
};

}  // namespace host
