/// `photometer scan-holmium`: the spectrum of the built-in holmium oxide filter between two positions.
#pragma once

#include <string>
#include <vector>

#include "RunCommand.h"
#include "photometer/Requests.h"

namespace host {

class HolmiumScanCommand final : public RunCommand {
 public:
  HolmiumScanCommand() : RunCommand("scan-holmium", Holder::Empty) {}

 private:
  struct Point {
    LONG iPosition = 0;
    /// nm, by the polynomial, without the correction.
    double dWavelength = 0;
    double dAbsorbance = 0;
  };
  struct Peak {
    double dNominal = 0;
    Point found;
  };

  void AddOwnOptions(CLI::App& app) override;
  void CheckOwn() override;
  ExitCode Operate(Bench& bench) override;
  [[nodiscard]] std::string Results() const override;
  [[nodiscard]] bool HasResults() const override { return !m_points.empty(); }
  [[nodiscard]] std::optional<Plot> Picture() const override;

  void Take(const photometer::MeasureValues& values, Progress& progress);
  [[nodiscard]] double WavelengthAt(LONG iPosition) const;
  /// Nominal peaks whose surroundings were scanned, with the highest point near each; one at the edge is none.
  [[nodiscard]] std::vector<Peak> FoundPeaks() const;

  int m_iFirst = 4000;
  int m_iLast = 9000;
  std::string m_strPeaks;
  std::vector<double> m_peaks;
  std::vector<Point> m_points;
};

}  // namespace host
