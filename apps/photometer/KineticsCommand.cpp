#include "KineticsCommand.h"

#include <algorithm>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "Duration.h"
#include "NumberOption.h"
#include "ResultTable.h"
#include "WavelengthList.h"

namespace host {

namespace {

constexpr DWORD RequestId = 1;
constexpr DWORD Minute = 60;
constexpr DWORD Day = 24 * 60 * Minute;
// nm, of every instrument; its own range is checked with its parameters.
constexpr double Lowest = 190;
constexpr double Highest = 1100;

}  // namespace

void KineticsCommand::AddOwnOptions(CLI::App& app) {
  AddRealOption(app, "--wavelength", m_dWavelength, Lowest, Highest, "Wavelength, nm");
  app.get_option("--wavelength")->default_str("");
  AddDurationOption(app, "--every", m_dwInterval, 0, Day, 1, "From one reading to the next; 0s: one after the other");
  AddDurationOption(app, "--for", m_dwDuration, 0, 7 * Day, Minute,
                    "The last reading is the first that begins later than this");
  m_references.AddTo(app);
  m_results.AddPlotTo(app);
}

void KineticsCommand::CheckOwn() {
  if (m_dWavelength == 0) {
    throw CLI::ValidationError("--wavelength", "is missing; give it in nm, as --wavelength 340");
  }
  const std::string complaint =
      ComplainOutOfRange({m_dWavelength}, m_instrument.LowestWavelength(), m_instrument.HighestWavelength());
  if (!complaint.empty()) {
    throw CLI::ValidationError("--wavelength", complaint);
  }
  m_references.Check();
  m_references.CheckWavelengths({m_dWavelength});
  NeedZero(m_dWavelength);
  m_header.strReference = m_references.Description();
  AddSetting("wavelength", fmt::format("{}", m_dWavelength));
  AddSetting("every_s", fmt::format("{}", m_dwInterval));
  AddSetting("for_s", fmt::format("{}", m_dwDuration));
  AddSetting("switching_point", fmt::format("{}", m_instrument.SwitchingPoint()));
}

void KineticsCommand::Take(const photometer::MeasureValues& values, Progress& progress) {
  for (const photometer::MeasureValue& value : values) {
    const DetectorPair pair{value.dValue, value.dValueRef};
    m_cycles.push_back(
        {value.dwTag, value.dWavelength, value.dwPosition, pair, AbsorbanceOf(pair, m_references.At(m_dWavelength))});
    const double dTotal = m_dwDuration + std::max<double>(m_dwInterval, 1);
    const double dElapsed = std::min(value.dWavelength * Minute, dTotal);
    progress.ShowShare("series", dElapsed / dTotal, static_cast<DWORD>(dTotal - dElapsed));
  }
}

ExitCode KineticsCommand::Operate(Bench& bench) {
  m_references.TakeZeros(bench.session.Device(), m_instrument);
  photometer::KineticsRequest request{};
  request.m_dwRequestId = RequestId;
  request.m_dwDuration = m_dwDuration / Minute;
  request.m_dwInterval = m_dwInterval;
  request.m_dWavelength = m_dWavelength;
  request.m_dLampSwitchingPoint = m_instrument.SwitchingPoint();
  return RunOperation(
      bench, "series", [&request](photometer::IPhotometer& device) { return device.StartKinetics(&request); },
      [this, &bench](const HostEvent& event) {
        if (const auto* pResults = std::get_if<host::Results>(&event)) {
          Take(pResults->values, bench.progress);
        }
      });
}

bool KineticsCommand::HasAbsorbances() const {
  return std::any_of(m_cycles.begin(), m_cycles.end(), [](const Cycle& cycle) { return cycle.absorbance.has_value(); });
}

std::string KineticsCommand::Results() const {
  ResultTable table{m_header,
                    {{"cycle", "cycle", 0},
                     {"time_min", "min", 4},
                     {"wavelength_nm", "nm", 2},
                     {"position", "position", 0},
                     {"sample", "sample", 3},
                     {"reference", "reference", 3},
                     {"absorbance", "absorbance", 6}},
                    {},
                    {}};
  for (const Cycle& cycle : m_cycles) {
    table.rows.push_back({static_cast<double>(cycle.dwNumber), cycle.dMinutes, m_dWavelength,
                          static_cast<double>(cycle.dwPosition), cycle.value.dSample, cycle.value.dReference,
                          cycle.absorbance ? ResultCell(*cycle.absorbance) : ResultCell(std::monostate())});
  }
  if (!m_references.At(m_dWavelength)) {
    table.notes.push_back("No absorbance: the start-up measured no zero value at this wavelength; give a --blank.");
  }
  return FormatTable(table, m_results.Format());
}

std::optional<Plot> KineticsCommand::Picture() const {
  if (m_cycles.size() < 2) {
    return std::nullopt;
  }
  const bool bAbsorbances = HasAbsorbances();
  Plot plot;
  plot.strTitle = fmt::format("Kinetics at {} nm", m_dWavelength);
  plot.strSubtitle = Subtitle();
  plot.strAxisX = "time / min";
  plot.strAxisY = bAbsorbances ? "absorbance" : "sample / reference (no blank)";
  plot.strCurve = bAbsorbances ? "absorbance" : "sample / reference";
  plot.style = PlotStyle::Series;
  for (const Cycle& cycle : m_cycles) {
    if (cycle.absorbance || !bAbsorbances) {
      plot.points.push_back({cycle.dMinutes, cycle.absorbance.value_or(cycle.value.dSample / cycle.value.dReference)});
    }
  }
  return plot;
}

}  // namespace host
