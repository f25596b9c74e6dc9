/// `photometer kinetics`: readings at one wavelength at fixed intervals.
#pragma once

#include <string>
#include <vector>

#include "References.h"
#include "RunCommand.h"
#include "photometer/Requests.h"

namespace host {

class KineticsCommand final : public RunCommand {
 public:
  KineticsCommand() : RunCommand("kinetics", Holder::DrawnSample) {}

 private:
  struct Cycle {
    DWORD dwNumber = 0;
    double dMinutes = 0;
    DWORD dwPosition = 0;
    DetectorPair value;
    std::optional<double> absorbance;
  };

  void AddOwnOptions(CLI::App& app) override;
  void CheckOwn() override;
  ExitCode Operate(Bench& bench) override;
  [[nodiscard]] std::string Results() const override;
  [[nodiscard]] bool HasResults() const override { return !m_cycles.empty(); }
  [[nodiscard]] std::optional<Plot> Picture() const override;

  void Take(const photometer::MeasureValues& values, Progress& progress);
  [[nodiscard]] bool HasAbsorbances() const;

  double m_dWavelength = 0;
  /// s
  DWORD m_dwInterval = 10;
  DWORD m_dwDuration = 300;
  References m_references;
  std::vector<Cycle> m_cycles;
};

}  // namespace host
