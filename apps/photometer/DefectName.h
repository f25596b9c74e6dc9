/// Names of defects of the simulated instrument on a command line: "weak-halogen", "leaky-filter:2".
#pragma once

#include <string_view>

#include "simulator/OpticalUnitSettings.h"

namespace host {

inline constexpr std::string_view DefectNames =
    "weak-halogen, dead-deuterium, leaky-filter:N (N: 1 to 4), noisy-detectors, slipped-motor";

/// Adds a defect to the faults. False: there is none of that name.
inline bool AddDefect(std::string_view name, simulator::InstrumentFaults& faults) {
  constexpr std::string_view LeakyFilter = "leaky-filter:";
  if (name == "weak-halogen") {
    faults.halogenLevel = 0.002;
  } else if (name == "dead-deuterium") {
    faults.bDeuteriumLights = false;
  } else if (name == "noisy-detectors") {
    faults.detectorNoise = 2000.0;
  } else if (name == "slipped-motor") {
    faults.slippedSteps = 12;
  } else if (name.size() == LeakyFilter.size() + 1 && name.starts_with(LeakyFilter) && name.back() >= '1' &&
             name.back() <= '4') {
    faults.filterLeak[static_cast<std::size_t>(name.back() - '0')] = 0.5;
  } else {
    return false;
  }
  return true;
}

}  // namespace host
