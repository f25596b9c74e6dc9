/// `photometer turbidity`: the two readings of the turbidity channel.
#pragma once

#include <string>

#include "RunCommand.h"

namespace host {

class TurbidityCommand final : public RunCommand {
 public:
  TurbidityCommand() : RunCommand("turbidity", Holder::Sample) {}

 private:
  void AddOwnOptions(CLI::App&) override {}
  void CheckOwn() override {}
  ExitCode Operate(Bench& bench) override;
  [[nodiscard]] std::string Results() const override;
  [[nodiscard]] bool HasResults() const override { return !m_values.empty(); }

  photometer::MeasureValues m_values;
};

}  // namespace host
