#include "WavelengthCheckCommand.h"

#include <algorithm>
#include <cmath>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "NumberOption.h"
#include "ResultTable.h"
#include "WavelengthList.h"

namespace host {

namespace {

constexpr DWORD RequestId = 1;
// Each peak's spectrum tells its own progress, which says nothing about the whole.
constexpr DWORD NotifySpectrum = 4;
// Half of the range in which a peak is looked for, nm, less a step: a maximum there is no peak.
constexpr double EdgeDistance = 1.9;

}  // namespace

void WavelengthCheckCommand::AddOwnOptions(CLI::App& app) {
  app.add_option("--peaks", m_strPeaks, "Peaks of the holmium oxide filter, nm (default: those of the settings)")
      ->type_name("LIST");
  AddRealOption(app, "--tolerance", m_dTolerance, 0.1, EdgeDistance,
                "Greatest distance of a found peak from its wavelength, nm");
  m_results.AddPlotTo(app);
}

void WavelengthCheckCommand::CheckOwn() {
  m_request.m_dwRequestId = RequestId;
  m_request.m_Peaks = m_strPeaks.empty() ? m_instrument.Peaks()
                                         : WavelengthsOfOption("--peaks", m_strPeaks, m_instrument.LowestWavelength(),
                                                               m_instrument.HighestWavelength());
  std::string peaks;
  for (const double dPeak : m_request.m_Peaks) {
    peaks += (peaks.empty() ? "" : ",") + FormatReal(dPeak);
  }
  AddSetting("peaks", peaks);
  AddSetting("tolerance", FormatReal(m_dTolerance));
}

ExitCode WavelengthCheckCommand::Operate(Bench& bench) {
  bench.progress.Ignore({NotifySpectrum});
  const ExitCode code = RunOperation(
      bench, "wavelength check",
      [this](photometer::IPhotometer& device) { return device.StartWavelengthCheck(&m_request); },
      [this](const HostEvent& event) {
        if (const auto* pResults = std::get_if<host::Results>(&event)) {
          for (const photometer::MeasureValue& value : pResults->values) {
            m_found.push_back(value.dWavelength);
          }
        }
      });
  if (code != ExitCode::Success) {
    return code;
  }
  for (std::size_t i = 0; i < m_request.m_Peaks.size(); ++i) {
    if (JudgePeak(i) != Verdict::Passed) {
      return ExitCode::CheckFailed;
    }
  }
  return ExitCode::Success;
}

Verdict WavelengthCheckCommand::JudgePeak(std::size_t nPeak) const {
  if (nPeak >= m_found.size()) {
    return Verdict::NotDone;
  }
  return std::abs(m_found[nPeak] - m_request.m_Peaks[nPeak]) <= m_dTolerance ? Verdict::Passed : Verdict::Failed;
}

std::string WavelengthCheckCommand::Results() const {
  ResultTable table{m_header,
                    {{"peak_nm", "peak nm", 2},
                     {"found_nm", "found nm", 2},
                     {"difference_nm", "difference nm", 2},
                     {"limit_nm", "limit nm", 2},
                     {"verdict", "verdict", 0}},
                    {},
                    {}};
  bool bFailed = false;
  for (std::size_t i = 0; i < std::min(m_found.size(), m_request.m_Peaks.size()); ++i) {
    const double dPeak = m_request.m_Peaks[i];
    const double dDifference = m_found[i] - dPeak;
    bFailed = bFailed || JudgePeak(i) == Verdict::Failed;
    table.rows.push_back({dPeak, m_found[i], dDifference, m_dTolerance, VerdictText(JudgePeak(i))});
    if (std::abs(dDifference) >= EdgeDistance) {
      table.notes.push_back(fmt::format("{} nm: no peak within 2 nm; is it one of the holmium oxide filter?", dPeak));
    }
  }
  table.notes.push_back(
      "Found wavelengths are those of the uncorrected scale: a difference that all share is the stored correction.");
  if (bFailed) {
    table.notes.push_back(
        "Empty the cuvette holder and run \"photometer test wavelength\"; if it comes back, have the monochromator "
        "serviced.");
  }
  return FormatTable(table, m_results.Format());
}

std::optional<Plot> WavelengthCheckCommand::Picture() const {
  if (m_found.size() < 2) {
    return std::nullopt;
  }
  Plot plot;
  plot.strTitle = "Wavelength check: peaks of the holmium oxide filter";
  plot.strSubtitle = Subtitle();
  plot.strAxisX = "wavelength / nm";
  plot.strAxisY = "found - nominal / nm";
  plot.strCurve = "difference";
  plot.style = PlotStyle::Bars;
  for (std::size_t i = 0; i < std::min(m_found.size(), m_request.m_Peaks.size()); ++i) {
    const double dPeak = m_request.m_Peaks[i];
    const double dDifference = m_found[i] - dPeak;
    plot.points.push_back({dPeak, dDifference});
    plot.expected.push_back({dPeak, 0, fmt::format("{} nm", dPeak)});
    plot.found.push_back({dPeak, dDifference, fmt::format("{:.2f} nm", m_found[i])});
  }
  return plot;
}

}  // namespace host
