#include "InfoTable.h"

namespace host {

namespace {

ResultCell TextOrNothing(const std::string& text) { return text.empty() ? ResultCell() : ResultCell(text); }

std::string YesOrNo(photometer::BOOL bFlag) { return bFlag != 0 ? "yes" : "no"; }

}  // namespace

std::string FormatInfo(const ResultHeader& header, const std::vector<InfoRow>& rows, OutputFormat format) {
  ResultTable table{header, {{"item", "item", 0}, {"value", "value", AllDecimals}, {"unit", "unit", 0}}, {}, {}};
  for (const InfoRow& row : rows) {
    table.rows.push_back({row.strItem, row.value, row.strUnit});
  }
  return FormatTable(table, format);
}

std::vector<InfoRow> PumpRows(photometer::IPhotometer& device, const InstrumentOptions& instrument) {
  const photometer::PumpInfo pump = device.GetPumpInfo();
  std::vector<InfoRow> rows = {
      {"pump", std::string(instrument.PumpText()), ""},
      {"pump connected", YesOrNo(device.GetStatus().bSipperDetected), ""},
      // While it has been asked for, the text is the letter alone.
      {"pump version", TextOrNothing(pump.m_strPumpVersion == "V" ? "" : pump.m_strPumpVersion), ""}};
  if (instrument.HasZQ420()) {
    rows.push_back({"pump data 1", TextOrNothing(pump.m_strSipperData1), ""});
    rows.push_back({"pump data 2", TextOrNothing(pump.m_strSipperData2), ""});
    rows.push_back({"pump running time", TextOrNothing(pump.m_strSipperRunTime), "h:min:s"});
  } else {
    rows.push_back({"pump parameters acknowledged", YesOrNo(pump.m_bPumpParamsAcknowledged), ""});
    rows.push_back({"pump cycle by itself", YesOrNo(pump.m_bPumpCycleReported), ""});
  }
  return rows;
}

}  // namespace host
