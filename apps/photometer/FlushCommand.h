/// `photometer flush`: rinses the flow cuvette with the attached sipper pump.
#pragma once

#include <optional>
#include <string>

#include "PumpState.h"
#include "RunCommand.h"

namespace host {

class FlushCommand final : public RunCommand {
 public:
  FlushCommand() : RunCommand("flush", Holder::AsItIs) {}

 private:
  void AddOwnOptions(CLI::App& app) override;
  void CheckOwn() override;
  ExitCode Operate(Bench& bench) override;
  [[nodiscard]] std::string Results() const override;
  [[nodiscard]] bool HasResults() const override { return !m_strEnd.empty(); }
  [[nodiscard]] bool GoesOnAfterFailedStartUp() const override { return true; }
  [[nodiscard]] std::optional<BoardPort> NeededPort() const override { return PumpPort(m_instrument); }

  /// Waits for the end of a flush that has begun.
  ExitCode Follow(Bench& bench);

  std::optional<DWORD> m_dwSeconds;
  std::string m_strEnd;
  double m_dSeconds = 0;
};

}  // namespace host
