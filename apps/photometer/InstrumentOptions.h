/// The instrument's parameters and calibration. What counts is, first to last: an option on the command line, the host
/// file (`--host-file`), the settings file (`--settings`), the delivery settings.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "OptionFile.h"
#include "SettingsFile.h"
#include "photometer/Records.h"

namespace CLI {
class App;
}

namespace host {

/// Operating modes of the device.
inline constexpr photometer::DWORD ModeZQ410 = 1;
inline constexpr photometer::DWORD ModeZQ420 = 2;

class InstrumentOptions {
 public:
  InstrumentOptions();

  void AddTo(CLI::App& app);
  /// Throws `CLI::ValidationError` for what cannot be used: of a file naming file, line and key.
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
  /// Paths of the files; empty without one.
  [[nodiscard]] std::string SettingsPath() const { return m_settings ? m_settings->Path() : std::string(); }
  [[nodiscard]] const std::string& HostFilePath() const { return m_hostFile.Path(); }
  /// What a person should know of the settings file before the instrument starts.
  [[nodiscard]] std::vector<std::string> Notes() const;
  /// Below this wavelength, nm, the deuterium lamp serves.
  [[nodiscard]] double SwitchingPoint() const { return m_Calibration.LampSwitchingPoint; }
  /// The attached pump as a person calls it; null: none.
  [[nodiscard]] const char* PumpText() const;
  [[nodiscard]] bool HasZQ420() const { return m_Params.dwOperatingMode == ModeZQ420; }
  /// Range of every wavelength that is measured, nm.
  [[nodiscard]] double LowestWavelength() const;
  [[nodiscard]] double HighestWavelength() const;

 private:
  void AddFilesTo(CLI::App& app);
  void Take(const photometer::InstrumentSettings& settings);
  void LoadSettings(const std::string& path);
  void CheckSwitchingPoint();
  void CheckZeros();

  photometer::PhotometerParameters m_Params{};
  photometer::CalibrationData m_Calibration{};
  std::vector<double> m_peaks;
  bool m_bUV = true;
  OptionFile m_hostFile;
  std::optional<SettingsFile> m_settings;
  std::string m_strSwitchingPoint;
  std::string m_strZeros;
  std::string m_strParity = "none";
  std::string m_strPump = "none";
};

/// The wavelengths of an option's text, within the range; throws `CLI::ValidationError` otherwise.
std::vector<double> WavelengthsOfOption(const std::string& option, const std::string& text, double dLowest,
                                        double dHighest);

}  // namespace host
