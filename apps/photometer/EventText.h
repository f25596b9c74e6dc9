/// What the device told, as a name and a value for programs and words for a person.
#pragma once

#include <optional>
#include <string>

#include <nlohmann/json.hpp>

#include "HostEvent.h"

namespace host {

struct EventText {
  /// "cuvette"; docs/results.md lists all.
  std::string strName;
  /// Null, a number, a text or a flag.
  nlohmann::ordered_json value;
  std::string strWords;
};

/// Nothing for what only belongs to a run: its progress, results and countdowns.
std::optional<EventText> DescribeEvent(const HostEvent& event);

/// "10 mm", "none", "fixation".
std::string CuvetteText(LONG iCuvetteSize);

}  // namespace host
