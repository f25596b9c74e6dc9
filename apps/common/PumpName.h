/// Names of the sipper pumps on a command line.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulator/Instrument.h"

namespace common {

/// In the order of `simulator::PumpKind` and of the device's operating modes.
inline std::vector<std::string> PumpNames() { return {"none", "zq410", "zq420"}; }

/// The pump of one of these names.
inline simulator::PumpKind FindPump(std::string_view name) {
  if (name == "zq410") {
    return simulator::PumpKind::ZQ410;
  }
  return name == "zq420" ? simulator::PumpKind::ZQ420 : simulator::PumpKind::None;
}

}  // namespace common
