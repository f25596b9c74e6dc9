/// What the tests of the self-tests share: the device brought up on an instrument of either kind, and the offset of the
/// simulated monochromator changed from spectrum to spectrum.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "logging/LogFiles.h"
#include "support/World.h"

namespace photometer::tests {

/// A simulated instrument whose peaks appear `iOffset` steps above their positions.
inline WorldOptions InstrumentWithOffset(int iOffset) {
  WorldOptions options;
  options.unit.positionOffset = iOffset;
  return options;
}

/// `StartUp` of an instrument with or without the deuterium lamp's path; the world's unit must be of the same kind.
inline bool StartUpOfKind(Device& device, bool bUV) {
  PhotometerParameters params = DefaultParameters();
  params.bUV = bUV ? TRUE : FALSE;
  const CalibrationData calibration = DefaultCalibration();
  return device->Initialize(&params, &calibration) == S_OK && device.WaitUntilNotBusy() &&
         device->GetStatus().bInitialized != 0;
}

/// The monochromator's offset (steps) for each spectrum from now on, set before the first scan of its two; the last one
/// stays.
inline void SetOffsetsOfSpectra(World& world, std::vector<int> offsets) {
  std::size_t nScans = 0;
  world.ports.beforeWrite = [&world, offsets = std::move(offsets), nScans](std::string_view bytes) mutable {
    if (bytes.starts_with("$s") && nScans / 2 < offsets.size()) {
      simulator::InstrumentFaults faults = world.unit.Settings().faults;
      faults.slippedSteps = offsets[nScans / 2] - world.unit.Settings().positionOffset;
      world.unit.SetFaults(faults);
      ++nScans;
    }
  };
}

/// Callbacks from number `nFirst` on.
inline std::vector<std::string> CallsFrom(const World& world, std::size_t nFirst) {
  const std::vector<std::string> calls = world.sink.Calls();
  return {calls.begin() + static_cast<std::ptrdiff_t>(nFirst), calls.end()};
}

/// Those of them that report an end: finished, cancelled, or an error.
inline std::vector<std::string> EndsFrom(const World& world, std::size_t nFirst, const std::string& requestId) {
  std::vector<std::string> ends;
  for (const std::string& call : CallsFrom(world, nFirst)) {
    const bool bNotified =
        call == "OnNotify(" + requestId + ", 17, 100)" || call == "OnNotify(" + requestId + ", 18, 100)";
    if (bNotified || call.starts_with("OnError(")) {
      ends.push_back(call);
    }
  }
  return ends;
}

/// How many records the error list has of this.
inline std::size_t ErrorRecords(World& world, const std::string& procedure, const std::string& command, int iError) {
  constexpr std::size_t LIMIT = std::size_t{1024} * 1024;
  const std::string list = world.board.GetFiles().Read(ErrorListPath, LIMIT).value_or("");
  const std::string record = "[" + procedure + "] " + command + " returned " + std::to_string(iError) + "\n";
  std::size_t nRecords = 0;
  for (std::size_t n = list.find(record); n != std::string::npos; n = list.find(record, n + record.size())) {
    ++nRecords;
  }
  return nRecords;
}

/// How often the debug output contains `text`.
inline std::size_t DebugLines(const World& world, const std::u16string& text) {
  const std::u16string debug = world.board.DebugText();
  std::size_t nLines = 0;
  for (std::size_t n = debug.find(text); n != std::u16string::npos; n = debug.find(text, n + text.size())) {
    ++nLines;
  }
  return nLines;
}

}  // namespace photometer::tests
