/// Results as columns with units: a table for people, CSV and JSON for programs. Points in every locale.
#pragma once

#include <string>
#include <variant>
#include <vector>

#include "ReportFormat.h"
#include "ResultHeader.h"

namespace host {

/// As many decimals as the number has.
inline constexpr int AllDecimals = -1;

struct ResultColumn {
  /// For programs, with the unit: "wavelength_nm".
  std::string strName;
  /// For people: "nm".
  std::string strHeading;
  /// Decimals in table and CSV, or `AllDecimals`; JSON has every digit.
  int iDecimals = 0;
};

/// Nothing, a number or a text.
using ResultCell = std::variant<std::monostate, double, std::string>;

struct ResultTable {
  ResultHeader header;
  std::vector<ResultColumn> columns;
  /// Each as long as the columns.
  std::vector<std::vector<ResultCell>> rows;
  /// Lines below the table, for people.
  std::vector<std::string> notes;
};

/// Ended lines.
///
/// - Table: a title, the columns, the notes.
/// - CSV: the header's lines, the columns' names, a line for each row; nothing: an empty field.
/// - JSON: the header's members, and `rows` with an object of the columns' names for each row; nothing: null.
std::string FormatTable(const ResultTable& table, OutputFormat format);

}  // namespace host
