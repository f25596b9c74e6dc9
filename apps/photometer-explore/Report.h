/// What the program tells a person about a finding.
#pragma once

#include <string>
#include <vector>

#include "Record.h"

namespace explorer {

/// What was broken, where, by which plan, and how it is repeated.
std::string FindingText(const Record& record, const std::vector<std::string>& lines, const std::string& path);
/// `record-<seed>-<property>.txt` in a folder.
std::string RecordPath(const std::string& folder, const Record& record);
/// Names and meanings of all properties.
std::string PropertyList();

}  // namespace explorer
