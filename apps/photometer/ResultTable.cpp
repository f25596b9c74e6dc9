#include "ResultTable.h"

#include <algorithm>

#include <fmt/format.h>

namespace host {

namespace {

using nlohmann::ordered_json;

std::string CellText(const ResultCell& cell, const ResultColumn& column, const std::string& nothing) {
  if (const auto* pNumber = std::get_if<double>(&cell)) {
    return column.iDecimals == AllDecimals ? fmt::format("{}", *pNumber)
                                           : fmt::format("{:.{}f}", *pNumber, column.iDecimals);
  }
  const auto* pText = std::get_if<std::string>(&cell);
  return pText == nullptr || pText->empty() ? nothing : *pText;
}

bool HoldsText(const ResultTable& table, std::size_t nColumn) {
  return std::any_of(table.rows.begin(), table.rows.end(),
                     [nColumn](const auto& row) { return std::holds_alternative<std::string>(row[nColumn]); });
}

/// A column for people: texts begin, and numbers end, at the same place.
struct Layout {
  std::size_t nWidth = 0;
  bool bText = false;
};

std::vector<Layout> LayOut(const ResultTable& table, const std::vector<std::vector<std::string>>& texts) {
  std::vector<Layout> layouts;
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    Layout layout{table.columns[i].strHeading.size(), HoldsText(table, i)};
    for (const auto& row : texts) {
      layout.nWidth = std::max(layout.nWidth, row[i].size());
    }
    layouts.push_back(layout);
  }
  return layouts;
}

std::string TableLine(const std::vector<std::string>& texts, const std::vector<Layout>& layouts) {
  std::string line;
  for (std::size_t i = 0; i < texts.size(); ++i) {
    const std::string padding(layouts[i].nWidth - texts[i].size(), ' ');
    line += (i == 0 ? "" : "  ") + (layouts[i].bText ? texts[i] + padding : padding + texts[i]);
  }
  return line.substr(0, line.find_last_not_of(' ') + 1) + "\n";
}

std::string Title(const ResultHeader& header) {
  std::string title = header.strKind;
  for (const std::string& word : {header.strSample, header.strTime, header.strOutcome}) {
    title += word.empty() ? "" : "  |  " + word;
  }
  return title + "\n";
}

std::string FormatText(const ResultTable& table) {
  std::vector<std::vector<std::string>> texts;
  for (const auto& row : table.rows) {
    texts.emplace_back();
    for (std::size_t i = 0; i < row.size(); ++i) {
      texts.back().push_back(CellText(row[i], table.columns[i], "-"));
    }
  }
  const std::vector<Layout> layouts = LayOut(table, texts);
  std::vector<std::string> headings;
  for (const ResultColumn& column : table.columns) {
    headings.push_back(column.strHeading);
  }
  std::string text = Title(table.header) + TableLine(headings, layouts);
  for (const auto& row : texts) {
    text += TableLine(row, layouts);
  }
  for (const std::string& note : table.notes) {
    text += note + "\n";
  }
  return text;
}

std::string FormatCsv(const ResultTable& table) {
  std::string csv = CsvHeader(table.header);
  for (std::size_t i = 0; i < table.columns.size(); ++i) {
    csv += (i == 0 ? "" : ",") + table.columns[i].strName;
  }
  csv += "\n";
  for (const auto& row : table.rows) {
    for (std::size_t i = 0; i < row.size(); ++i) {
      const auto* pText = std::get_if<std::string>(&row[i]);
      csv += (i == 0 ? "" : ",") + (pText != nullptr ? QuotedForCsv(*pText) : CellText(row[i], table.columns[i], ""));
    }
    csv += "\n";
  }
  return csv;
}

std::string FormatJson(const ResultTable& table) {
  ordered_json rows = ordered_json::array();
  for (const auto& row : table.rows) {
    ordered_json object = ordered_json::object();
    for (std::size_t i = 0; i < row.size(); ++i) {
      ordered_json& member = object[table.columns[i].strName];
      if (const auto* pNumber = std::get_if<double>(&row[i])) {
        member = *pNumber;
      } else if (const auto* pText = std::get_if<std::string>(&row[i])) {
        member = *pText;
      }
    }
    rows.push_back(std::move(object));
  }
  ordered_json json = JsonHeader(table.header);
  json["rows"] = std::move(rows);
  return JsonText(json);
}

}  // namespace

std::string FormatTable(const ResultTable& table, OutputFormat format) {
  switch (format) {
    case OutputFormat::Csv:
      return FormatCsv(table);
    case OutputFormat::Json:
      return FormatJson(table);
    case OutputFormat::Table:
      break;
  }
  return FormatText(table);
}

}  // namespace host
