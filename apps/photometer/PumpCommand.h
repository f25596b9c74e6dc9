/// `photometer pump`: what the attached sipper pump tells of itself, its parameters, and a cycle as a measurement runs
/// it.
#pragma once

#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "InfoTable.h"
#include "PumpState.h"
#include "RunCommand.h"

namespace host {

class PumpCommand final : public RunCommand {
 public:
  PumpCommand() : RunCommand("pump", Holder::DrawnSample) {}

 private:
  void AddOwnOptions(CLI::App& app) override;
  void Prepare() override;
  void CheckOwn() override;
  ExitCode Operate(Bench& bench) override;
  [[nodiscard]] std::string Results() const override { return FormatInfo(m_header, m_rows, m_results.Format()); }
  [[nodiscard]] bool HasResults() const override { return !m_rows.empty(); }
  [[nodiscard]] bool GoesOnAfterFailedStartUp() const override { return true; }
  [[nodiscard]] std::optional<BoardPort> NeededPort() const override { return PumpPort(m_instrument); }

  ExitCode Set(Bench& bench);
  ExitCode Step(Bench& bench);
  /// The running time of a ZQ-420 after the cycle.
  void AskRunTime(Bench& bench) const;

  std::string m_strSet;
  /// Pump time (s) and second parameter that the pump is to be given.
  std::optional<std::pair<DWORD, DWORD>> m_set;
  bool m_bStep = false;
  std::vector<InfoRow> m_rows;
};

}  // namespace host
