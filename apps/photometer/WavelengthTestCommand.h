/// `photometer test wavelength`: the instrument finds and stores the correction of its wavelength scale.
#pragma once

#include <string>
#include <vector>

#include "CheckReport.h"
#include "RunCommand.h"

namespace host {

class WavelengthTestCommand final : public RunCommand {
 public:
  WavelengthTestCommand() : RunCommand("test wavelength", Holder::Empty) {}

 private:
  void AddOwnOptions(CLI::App&) override {}
  void CheckOwn() override;
  ExitCode Operate(Bench& bench) override;
  [[nodiscard]] std::string Results() const override;
  [[nodiscard]] bool HasResults() const override { return m_bRun; }
  [[nodiscard]] bool GoesOnAfterFailedStartUp() const override { return true; }

  [[nodiscard]] std::vector<CheckRow> Rows() const;

  bool m_bRun = false;
  bool m_bZerosMeasured = false;
  Verdict m_verdict = Verdict::NotDone;
};

}  // namespace host
