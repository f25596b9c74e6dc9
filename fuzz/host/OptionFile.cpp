// Input: a host file, with values of the options of instrument, external port and pump.
// Checks: either a message that names file and line, or parameters within the ranges of their options.
#include "OptionFile.h"

#include <CLI/CLI.hpp>

#include "InstrumentOptions.h"
#include "support/Lines.h"
#include "support/Target.h"

namespace {

using fuzz::Require;
using photometer::PhotometerParameters;

void CheckParameters(const PhotometerParameters& params) {
  Require(params.dwBaudRate >= 300 && params.dwBaudRate <= 115200, "baud");
  Require(params.dwByteSize >= 5 && params.dwByteSize <= 8 && params.dwParity <= 2, "data bits and parity");
  Require(params.PumpTime <= 999 && params.PumpParam2 <= 999 && params.dwOperatingMode <= 2, "pump");
  Require(params.DelayTime <= 86400 && params.dwUVSessionTime <= 86400, "times");
}

void CheckUsed(const host::InstrumentOptions& options) {
  CheckParameters(options.Parameters());
  const photometer::CalibrationData& calibration = options.Calibration();
  Require(calibration.LampSwitchingPoint >= options.Parameters().HalogenMin &&
              calibration.LampSwitchingPoint <= options.Parameters().UVMax,
          "the switching point lies where both lamps serve");
  for (const double dWavelength : calibration.ZeroWavelengths) {
    Require(dWavelength >= options.Parameters().HalogenMin && dWavelength <= options.HighestWavelength(),
            "zeros are within the range");
  }
}

void Check(std::string_view input) {
  CLI::App app;
  host::InstrumentOptions options;
  options.AddTo(app);
  host::OptionFile file;
  try {
    file.Parse("host.toml", fuzz::WithoutFolders(input));
    file.ApplyTo(app, {"Instrument", "External port and pump"}, "settings");
  } catch (const CLI::Error& error) {
    fuzz::RequireMessage(error.what(), "host.toml:");
    return fuzz::RequirePrintable(error.what());
  }
  try {
    options.Check();
  } catch (const CLI::Error& error) {
    return fuzz::RequireMessage(error.what(), "--");
  }
  CheckUsed(options);
}

const fuzz::Target target("OptionFile", Check);

}  // namespace
