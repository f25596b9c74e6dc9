#include "CheckReport.h"

#include <algorithm>

#include "ErrorTexts.h"

namespace host {

std::string VerdictText(Verdict verdict) {
  switch (verdict) {
    case Verdict::Passed:
      return "passed";
    case Verdict::Failed:
      return "FAILED";
    case Verdict::NotTested:
      return "not tested";
    case Verdict::NotDone:
      break;
  }
  return "not done";
}

bool HasFailed(const std::vector<CheckRow>& rows) {
  return std::any_of(rows.begin(), rows.end(), [](const CheckRow& row) { return row.verdict == Verdict::Failed; });
}

std::string FormatCheck(const ResultHeader& header, const std::vector<CheckRow>& rows, OutputFormat format) {
  const bool bTable = format == OutputFormat::Table;
  ResultTable table{
      header,
      {{"step", "step", 0}, {"measured", "measured", 0}, {"limit", "limit", 0}, {"verdict", "verdict", 0}},
      {},
      {}};
  if (!bTable) {
    table.columns.push_back({"advice", "advice", 0});
  }
  for (const CheckRow& row : rows) {
    const std::string advice = row.verdict == Verdict::Failed ? row.strAdvice : std::string();
    table.rows.push_back({row.strStep, row.strMeasured, row.strLimit, VerdictText(row.verdict)});
    if (!bTable) {
      table.rows.back().emplace_back(advice);
    } else if (!advice.empty()) {
      table.notes.push_back(row.strStep + ": " + advice);
    }
  }
  if (header.error) {
    table.notes.push_back(ExplainError(*header.error));
  }
  return FormatTable(table, format);
}

}  // namespace host
