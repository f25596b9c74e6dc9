#include "TurbidityCommand.h"

#include "ResultTable.h"
#include "photometer/Requests.h"

namespace host {

namespace {

constexpr photometer::TurbidityRequest Request{100, 1, 2};

}  // namespace

ExitCode TurbidityCommand::Operate(Bench& bench) {
  return RunOperation(
      bench, "turbidity", [](photometer::IPhotometer& device) { return device.StartTurbidityMeasurement(&Request); },
      [this](const HostEvent& event) {
        if (const auto* pResults = std::get_if<host::Results>(&event)) {
          m_values.insert(m_values.end(), pResults->values.begin(), pResults->values.end());
        }
      });
}

std::string TurbidityCommand::Results() const {
  ResultTable table{m_header,
                    {{"range", "range", 0},
                     {"power", "power", 0},
                     {"gain", "gain", 0},
                     {"wavelength_nm", "nm", 0},
                     {"reading_counts", "counts", 1}},
                    {},
                    {"The readings become NTU by the turbidity calibration of the instrument."}};
  for (const photometer::MeasureValue& value : m_values) {
    const bool bHighRange = value.dwTag == Request.m_dwTag1;
    table.rows.push_back({bHighRange ? "high" : "low", bHighRange ? 1.0 : 3.0, bHighRange ? "low" : "high",
                          value.dWavelength, value.dTurbidity});
  }
  return FormatTable(table, m_results.Format());
}

}  // namespace host
