#include "Commands.h"

#include <algorithm>
#include <array>

#include "HolmiumScanCommand.h"
#include "KineticsCommand.h"
#include "MeasureCommand.h"
#include "ScanCommand.h"
#include "SystemCheckCommand.h"
#include "TurbidityCommand.h"
#include "WavelengthCheckCommand.h"
#include "WavelengthTestCommand.h"

namespace host {

namespace {

template <typename Kind>
std::unique_ptr<Command> Make() {
  return std::make_unique<Kind>();
}

}  // namespace

std::span<const CommandEntry> Commands() {
  static const std::array entries = {
      CommandEntry{"measure", "absorbances at chosen wavelengths", Make<MeasureCommand>},
      CommandEntry{"scan", "a spectrum between two wavelengths", Make<ScanCommand>},
      CommandEntry{"kinetics", "absorbance at one wavelength over time", Make<KineticsCommand>},
      CommandEntry{"turbidity", "both readings of the turbidity channel", Make<TurbidityCommand>},
      CommandEntry{"test wavelength", "find and store the correction of the wavelength scale",
                   Make<WavelengthTestCommand>},
      CommandEntry{"check wavelength", "compare peaks of the holmium oxide filter with their wavelengths",
                   Make<WavelengthCheckCommand>},
      CommandEntry{"check system", "judge lamps, wavelength, filters and detectors", Make<SystemCheckCommand>},
      CommandEntry{"scan-holmium", "the spectrum of the built-in holmium oxide filter", Make<HolmiumScanCommand>},
  };
  return entries;
}

const CommandEntry* FindCommand(const std::string& name) {
  const auto entries = Commands();
  const auto entry =
      std::find_if(entries.begin(), entries.end(), [&name](const CommandEntry& one) { return one.name == name; });
  return entry == entries.end() ? nullptr : &*entry;
}

}  // namespace host
