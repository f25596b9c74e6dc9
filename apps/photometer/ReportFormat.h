/// A measurement as text: a table for people, CSV and JSON for programs. Points in every locale.
#pragma once

#include <string>

#include "MeasureReport.h"
#include "ResultHeader.h"

namespace host {

enum class OutputFormat { Table, Csv, Json };

/// Ended lines.
///
/// - Table: a line for each wavelength with the means over its readings.
/// - CSV: the header's lines, and a line for each reading, under the heading
///   `wavelength_nm,position,reading,sample,reference,absorbance,note`; no absorbance: an empty field and a note.
/// - JSON: the header's members and `wavelengths`; each of these has
///   `wavelength`, `position`, `zero` (or null), `absorbance` (mean, or null), `spread` (or null), `note`, and
///   `readings` of `sample`, `reference` and `absorbance`; with a known sample also `expected` and `sigma`.
std::string FormatReport(const ResultHeader& header, const MeasureReport& report, OutputFormat format);

}  // namespace host
