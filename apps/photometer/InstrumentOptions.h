/// The instrument's parameters and calibration: the delivery settings, and options for what is to differ from them or
/// is not in them.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "photometer/Records.h"

namespace host {

/// Operating modes of the device.
inline constexpr photometer::DWORD ModeZQ410 = 1;
inline constexpr photometer::DWORD ModeZQ420 = 2;

class InstrumentOptions {
 public:
  InstrumentOptions();

  void AddTo(CLI::App& app);
  /// Throws `CLI::ValidationError` for a switching point or zero wavelengths that cannot be used.
  void Check();

  /// The wavelengths of the zero measurement, if the command line gives none.
  void ProposeZeros(const std::vector<double>& wavelengths);

  void SetPumpParameters(photometer::DWORD dwPumpTime, photometer::DWORD dwPumpParam2);

  /// Measures a zero value there too, if it is not below the switching point and the command line gives no zeros.
  void AddZero(double dWavelength);

  [[nodiscard]] const photometer::PhotometerParameters& Parameters() const { return m_Params; }
  [[nodiscard]] const photometer::CalibrationData& Calibration() const { return m_Calibration; }
  /// Peaks of the holmium oxide filter by the settings, nm.
  [[nodiscard]] const std::vector<double>& Peaks() const { return m_peaks; }
  /// Below this wavelength, nm, the deuterium lamp serves.
  [[nodiscard]] double SwitchingPoint() const { return m_Calibration.LampSwitchingPoint; }
  /// The attached pump as a person calls it; null: none.
  [[nodiscard]] const char* PumpText() const;
  [[nodiscard]] bool HasZQ420() const { return m_Params.dwOperatingMode == ModeZQ420; }
  /// Range of every wavelength that is measured, nm.
  [[nodiscard]] double LowestWavelength() const;
  [[nodiscard]] double HighestWavelength() const;

 private:
  photometer::PhotometerParameters m_Params{};
  photometer::CalibrationData m_Calibration{};
  std::vector<double> m_peaks;
  bool m_bUV = true;
  std::string m_strZeros;
  std::string m_strParity = "none";
  std::string m_strPump = "none";
};

/// The wavelengths of an option's text, within the range; throws `CLI::ValidationError` otherwise.
std::vector<double> WavelengthsOfOption(const std::string& option, const std::string& text, double dLowest,
                                        double dHighest);

}  // namespace host
