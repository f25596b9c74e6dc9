#include "HolmiumScanCommand.h"

#include <algorithm>
#include <cmath>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "NumberOption.h"
#include "ResultTable.h"

namespace host {

namespace {

constexpr DWORD RequestId = 1;
constexpr int LowestPosition = -1000;
constexpr int HighestPosition = 15000;
// As far from its wavelength as the self-tests look for a peak, nm.
constexpr double PeakDistance = 2.0;

}  // namespace

void HolmiumScanCommand::AddOwnOptions(CLI::App& app) {
  AddIntegerOption(app, "--first", m_iFirst, LowestPosition, HighestPosition, "First position, steps");
  AddIntegerOption(app, "--last", m_iLast, LowestPosition, HighestPosition, "Last position, steps");
  app.add_option("--peaks", m_strPeaks, "Peaks that are looked for, nm (default: those of the settings)")
      ->type_name("LIST");
  m_results.AddPlotTo(app);
}

void HolmiumScanCommand::CheckOwn() {
  if (m_iFirst >= m_iLast) {
    throw CLI::ValidationError("--first", fmt::format("{} is not below --last {}; exchange them", m_iFirst, m_iLast));
  }
  m_peaks = m_strPeaks.empty() ? m_instrument.Peaks()
                               : WavelengthsOfOption("--peaks", m_strPeaks, m_instrument.LowestWavelength(),
                                                     m_instrument.HighestWavelength());
  AddSetting("first", fmt::format("{}", m_iFirst));
  AddSetting("last", fmt::format("{}", m_iLast));
  m_header.strReference = "open filter position, same run";
}

double HolmiumScanCommand::WavelengthAt(LONG iPosition) const {
  const photometer::PhotometerParameters& params = m_instrument.Parameters();
  const double p = iPosition;
  const double dWavelength = (((params.dA * p + params.dB) * p + params.dC) * p + params.dD) / 1e6;
  return std::round(dWavelength * 100) / 100;
}

void HolmiumScanCommand::Take(const photometer::MeasureValues& values, Progress& progress) {
  for (const photometer::MeasureValue& value : values) {
    const auto iPosition = static_cast<LONG>(value.dwPosition);
    m_points.push_back({iPosition, WavelengthAt(iPosition), value.dValue});
  }
  progress.ShowShare("spectrum", static_cast<double>(m_points.size()) / (m_iLast - m_iFirst + 1));
}

ExitCode HolmiumScanCommand::Operate(Bench& bench) {
  photometer::HolmiumOxideScanRequest request{RequestId, m_iFirst, m_iLast};
  bench.progress.Say("the spectrum without the filter comes first, then that of the filter");
  return RunOperation(
      bench, "holmium oxide scan",
      [&request](photometer::IPhotometer& device) { return device.StartHolmiumOxideScan(&request); },
      [this, &bench](const HostEvent& event) {
        if (const auto* pResults = std::get_if<host::Results>(&event)) {
          Take(pResults->values, bench.progress);
        }
      });
}

std::vector<HolmiumScanCommand::Peak> HolmiumScanCommand::FoundPeaks() const {
  std::vector<Peak> peaks;
  for (const double dNominal : m_peaks) {
    const auto first = std::find_if(m_points.begin(), m_points.end(), [dNominal](const Point& point) {
      return point.dWavelength >= dNominal - PeakDistance;
    });
    const auto last = std::find_if(
        first, m_points.end(), [dNominal](const Point& point) { return point.dWavelength > dNominal + PeakDistance; });
    const auto highest = std::max_element(
        first, last, [](const Point& one, const Point& other) { return one.dAbsorbance < other.dAbsorbance; });
    const bool bSurroundings = first != m_points.begin() && last != m_points.end();
    if (bSurroundings && highest != first && highest + 1 != last) {
      peaks.push_back({dNominal, *highest});
    }
  }
  return peaks;
}

std::string HolmiumScanCommand::Results() const {
  ResultTable table{
      m_header, {{"position", "position", 0}, {"wavelength_nm", "nm", 2}, {"absorbance", "absorbance", 6}}, {}, {}};
  for (const Point& point : m_points) {
    table.rows.push_back({static_cast<double>(point.iPosition), point.dWavelength, point.dAbsorbance});
  }
  for (const Peak& peak : FoundPeaks()) {
    const std::string value = fmt::format("{:.2f} nm, position {}, {:+.2f} nm", peak.found.dWavelength,
                                          peak.found.iPosition, peak.found.dWavelength - peak.dNominal);
    table.notes.push_back(fmt::format("Peak {} nm: found at {}.", peak.dNominal, value));
    table.header.settings.emplace_back(fmt::format("found_peak_{}", peak.dNominal), value);
  }
  return FormatTable(table, m_results.Format());
}

std::optional<Plot> HolmiumScanCommand::Picture() const {
  if (m_points.size() < 2) {
    return std::nullopt;
  }
  Plot plot;
  plot.strTitle = "Spectrum of the holmium oxide filter";
  plot.strSubtitle = Subtitle();
  plot.strAxisX = "wavelength by the uncorrected scale / nm";
  plot.strAxisY = "absorbance";
  plot.strCurve = "absorbance";
  for (const Point& point : m_points) {
    plot.points.push_back({point.dWavelength, point.dAbsorbance});
  }
  for (const double dPeak : m_peaks) {
    if (dPeak >= m_points.front().dWavelength && dPeak <= m_points.back().dWavelength) {
      plot.expected.push_back({dPeak, 0, fmt::format("{} nm", dPeak)});
    }
  }
  for (const Peak& peak : FoundPeaks()) {
    const double dWavelength = peak.found.dWavelength;
    plot.found.push_back({dWavelength, peak.found.dAbsorbance, fmt::format("{:.2f} nm", dWavelength)});
  }
  return plot;
}

}  // namespace host
