/// `photometer check wavelength`: where the peaks of the holmium oxide filter are found, and how far off that is.
#pragma once

#include <string>
#include <vector>

#include "CheckReport.h"
#include "RunCommand.h"
#include "photometer/Requests.h"

namespace host {

class WavelengthCheckCommand final : public RunCommand {
 public:
  WavelengthCheckCommand() : RunCommand("check wavelength", Holder::Empty) {}

 private:
  void AddOwnOptions(CLI::App& app) override;
  void CheckOwn() override;
  ExitCode Operate(Bench& bench) override;
  [[nodiscard]] std::string Results() const override;
  [[nodiscard]] bool HasResults() const override { return !m_found.empty(); }
  [[nodiscard]] std::optional<Plot> Picture() const override;

  [[nodiscard]] Verdict JudgePeak(std::size_t nPeak) const;

  std::string m_strPeaks;
  photometer::WavelengthCheckRequest m_request{};
  double m_dTolerance = 1.5;
  /// One for each peak, nm.
  std::vector<double> m_found;
};

}  // namespace host
