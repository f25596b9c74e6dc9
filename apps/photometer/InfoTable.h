/// State of the instrument as a list of items: what, its value, its unit.
#pragma once

#include <string>
#include <vector>

#include "InstrumentOptions.h"
#include "ResultTable.h"
#include "photometer/IPhotometer.h"

namespace host {

struct InfoRow {
  std::string strItem;
  ResultCell value;
  /// Empty: none.
  std::string strUnit;
};

/// Columns `item`, `value`, `unit`.
std::string FormatInfo(const ResultHeader& header, const std::vector<InfoRow>& rows, OutputFormat format);

/// What the device knows of its pump now.
std::vector<InfoRow> PumpRows(photometer::IPhotometer& device, const InstrumentOptions& instrument);

}  // namespace host
