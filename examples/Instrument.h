// What every host has to know of its instrument before it can start it: the two records of Initialize.
//
// The numbers of one instrument stand in its file settings.cfg, beside the program. Where that file has none, or is not
// there at all, the delivery values serve.
#pragma once

#include "photometer/Records.h"
#include "photometer/Settings.h"

namespace example {

// A board must be current: call it after CreatePhotometer, which sees to that.
inline photometer::InstrumentSettings LoadSettings() {
  photometer::InstrumentSettings settings;
  photometer::SetDefaultSettings(&settings);
  photometer::ReadSettings(&settings);
  return settings;
}

inline photometer::PhotometerParameters ParametersOf(const photometer::InstrumentSettings& settings) {
  photometer::PhotometerParameters params{};
  params.dA = settings.F3;
  params.dB = settings.F2;
  params.dC = settings.F1;
  params.dD = settings.F0;
  params.UpperFilterWL = static_cast<photometer::DWORD>(settings.UpperFilterWL);
  params.MiddleFilterWL = static_cast<photometer::DWORD>(settings.MiddleFilterWL);
  params.LowerFilterWL = static_cast<photometer::DWORD>(settings.LowerFilterWL);
  params.HalogenMin = static_cast<photometer::DWORD>(settings.HalogenMin);
  params.HalogenMax = static_cast<photometer::DWORD>(settings.HalogenMax);
  params.UVMin = static_cast<photometer::DWORD>(settings.UVMin);
  params.UVMax = static_cast<photometer::DWORD>(settings.UVMax);
  params.bUV = settings.UV;
  params.dwBaudRate = 19200;
  params.dwByteSize = 8;
  params.dwUVSessionTime = 1800;
  return params;
}

// The start-up measures the light without a sample at these wavelengths: the more there are, the longer it takes.
inline photometer::CalibrationData CalibrationOf(const photometer::InstrumentSettings& settings,
                                                 const std::vector<double>& zeroWavelengths) {
  return {settings.Peak1, 340.0, settings.RefMaxWL, settings.RefMinWL, zeroWavelengths};
}

}  // namespace example
