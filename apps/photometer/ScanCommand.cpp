#include "ScanCommand.h"

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "NumberOption.h"
#include "WavelengthList.h"

namespace host {

namespace {

// Not a tag of the turbidity readings, which are 1 and 2: a point carries the request's number.
constexpr DWORD RequestId = 100;
// nm, of every instrument; its own range is checked with its parameters.
constexpr double Lowest = 190;
constexpr double Highest = 1100;

DWORD LampMode(const std::string& lamp) { return lamp == "halogen" ? 1U : lamp == "deuterium" ? 2U : 0U; }

}  // namespace

void ScanCommand::AddOwnOptions(CLI::App& app) {
  AddRealOption(app, "--from", m_dFrom, Lowest, Highest, "First wavelength, nm");
  AddRealOption(app, "--to", m_dTo, Lowest, Highest, "Last wavelength, nm");
  app.add_option("--step", m_strStep, "0.1: a point at each position (about 0.08 nm apart); 1: at each tenth")
      ->check(CLI::IsMember({"0.1", "1"}).description(""))
      ->type_name("0.1|1")
      ->default_str(m_strStep);
  app.add_option("--lamp", m_strLamp, "Lamp; auto: the deuterium lamp below the switching point")
      ->check(CLI::IsMember({"auto", "halogen", "deuterium"}).description(""))
      ->type_name("auto|halogen|deuterium")
      ->default_str(m_strLamp);
  app.add_flag("--turbidity", m_bTurbidity, "Two turbidity readings follow the spectrum");
  m_references.AddTo(app);
  m_results.AddPlotTo(app);
}

void ScanCommand::CheckRange() const {
  if (!(m_dFrom < m_dTo)) {
    throw CLI::ValidationError("--from", fmt::format("{} nm is not below --to {} nm; exchange them", m_dFrom, m_dTo));
  }
  for (const auto& [option, dWavelength] : {std::pair("--from", m_dFrom), std::pair("--to", m_dTo)}) {
    const std::string complaint =
        ComplainOutOfRange({dWavelength}, m_instrument.LowestWavelength(), m_instrument.HighestWavelength());
    if (!complaint.empty()) {
      throw CLI::ValidationError(option, complaint);
    }
  }
  if (m_strLamp == "deuterium" && m_instrument.Parameters().bUV == 0) {
    throw CLI::ValidationError("--lamp", "deuterium does not go with --no-uv; give auto or halogen");
  }
}

void ScanCommand::CheckOwn() {
  CheckRange();
  AddSetting("from", fmt::format("{}", m_dFrom));
  AddSetting("to", fmt::format("{}", m_dTo));
  AddSetting("step", m_strStep);
  AddSetting("lamp", m_strLamp);
  AddSetting("switching_point", fmt::format("{}", m_instrument.SwitchingPoint()));
  AddSetting("uv", m_instrument.Parameters().bUV != 0 ? "yes" : "no");
  m_references.Check();
  m_references.CheckSameRun(m_header.strKind, m_header.settings);
  m_header.strReference = m_references.Description();
  // Zero values serve between one another: there must be one at each end.
  for (const double dWavelength : {m_dFrom, m_instrument.SwitchingPoint(), m_dTo}) {
    if (dWavelength >= m_dFrom && dWavelength <= m_dTo) {
      NeedZero(dWavelength);
    }
  }
}

photometer::ScanRequest ScanCommand::Request() const {
  photometer::ScanRequest request{};
  request.m_dwRequestId = RequestId;
  request.m_dStartWavelength = m_dFrom;
  request.m_dEndWavelength = m_dTo;
  request.m_dLampSwitchingPoint = m_instrument.SwitchingPoint();
  request.m_dwLampMode = LampMode(m_strLamp);
  request.m_bStep1nm = m_strStep == "1" ? photometer::TRUE : photometer::FALSE;
  request.m_bTurbidity = m_bTurbidity ? photometer::TRUE : photometer::FALSE;
  return request;
}

void ScanCommand::Take(const photometer::MeasureValues& values, Progress& progress) {
  for (const photometer::MeasureValue& value : values) {
    if (value.dwTag == RequestId) {
      m_spectrum.Add(value);
    } else {
      m_turbidity.push_back(value.dTurbidity);
    }
  }
  if (HasResults()) {
    progress.ShowShare("spectrum", (m_spectrum.points.back().dWavelength - m_dFrom) / (m_dTo - m_dFrom));
  }
}

ExitCode ScanCommand::Operate(Bench& bench) {
  // The start-up measures its zero values with the halogen lamp.
  if (m_strLamp != "deuterium") {
    m_references.TakeZeros(bench.session.Device(), m_instrument);
  }
  const photometer::ScanRequest request = Request();
  const ExitCode code = RunOperation(
      bench, "scan", [&request](photometer::IPhotometer& device) { return device.StartScan(&request); },
      [this, &bench](const HostEvent& event) {
        if (const auto* pResults = std::get_if<host::Results>(&event)) {
          Take(pResults->values, bench.progress);
        }
      });
  m_spectrum.FormAbsorbances(m_references);
  for (std::size_t i = 0; i < m_turbidity.size(); ++i) {
    AddSetting(i == 0 ? "turbidity_high_range_counts" : "turbidity_low_range_counts",
               fmt::format("{:.1f}", m_turbidity[i]));
  }
  return code;
}

std::string ScanCommand::Results() const {
  ResultTable table = ToTable(m_header, m_spectrum);
  for (std::size_t i = 0; i < m_turbidity.size(); ++i) {
    table.notes.push_back(fmt::format("Turbidity, {} range: {:.1f} counts.", i == 0 ? "high" : "low", m_turbidity[i]));
  }
  return FormatTable(table, m_results.Format());
}

std::optional<Plot> ScanCommand::Picture() const {
  if (m_spectrum.points.size() < 2) {
    return std::nullopt;
  }
  return ToPlot(m_spectrum, Subtitle());
}

}  // namespace host
