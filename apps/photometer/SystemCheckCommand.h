/// `photometer check system`: lamps, wavelength, filters and detectors judged by the instrument.
#pragma once

#include <string>
#include <vector>

#include "CheckReport.h"
#include "RunCommand.h"
#include "photometer/Requests.h"

namespace host {

class SystemCheckCommand final : public RunCommand {
 public:
  SystemCheckCommand() : RunCommand("check system", Holder::Empty) {}

 private:
  void AddOwnOptions(CLI::App& app) override;
  void CheckOwn() override;
  ExitCode Operate(Bench& bench) override;
  [[nodiscard]] std::string Results() const override;
  [[nodiscard]] bool HasResults() const override { return m_bAny; }

  void Take(const photometer::SystemCheckStatus& status, Progress& progress);
  [[nodiscard]] std::vector<CheckRow> Rows() const;

  double m_dPeak = 0;
  photometer::SystemCheckStatus m_status{};
  bool m_bAny = false;
};

}  // namespace host
