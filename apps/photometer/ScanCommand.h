/// `photometer scan`: a spectrum between two wavelengths, with turbidity readings behind it when wanted.
#pragma once

#include <string>
#include <vector>

#include "References.h"
#include "RunCommand.h"
#include "SpectrumTable.h"
#include "photometer/Requests.h"

namespace host {

class ScanCommand final : public RunCommand {
 public:
  ScanCommand() : RunCommand("scan", Holder::DrawnSample) {}

 private:
  void AddOwnOptions(CLI::App& app) override;
  void CheckOwn() override;
  ExitCode Operate(Bench& bench) override;
  [[nodiscard]] std::string Results() const override;
  [[nodiscard]] bool HasResults() const override { return !m_spectrum.points.empty(); }
  [[nodiscard]] std::optional<Plot> Picture() const override;

  void CheckRange() const;
  void Take(const photometer::MeasureValues& values, Progress& progress);
  [[nodiscard]] photometer::ScanRequest Request() const;

  double m_dFrom = 340;
  double m_dTo = 900;
  std::string m_strStep = "1";
  std::string m_strLamp = "auto";
  bool m_bTurbidity = false;
  References m_references;
  Spectrum m_spectrum;
  /// Both readings, counts.
  std::vector<double> m_turbidity;
};

}  // namespace host
