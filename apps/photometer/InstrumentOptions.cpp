#include "InstrumentOptions.h"

#include <algorithm>
#include <utility>
#include <variant>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

#include "../common/PumpName.h"
#include "NumberOption.h"
#include "WavelengthList.h"
#include "photometer/Settings.h"

namespace host {

namespace {

using photometer::DWORD;

constexpr const char* Instrument = "Instrument";
constexpr const char* Pump = "External port and pump";
constexpr double DefaultSwitchingPoint = 340.0;
constexpr DWORD LongestTime = 24 * 3600;

/// What the device is given of a settings file.
constexpr const char* UsedKeys[] = {
    "F0",    "F1",    "F2", "F3",    "LowerFilterWL", "MiddleFilterWL", "UpperFilterWL", "HalogenMin", "HalogenMax",
    "UVMin", "UVMax", "UV", "Peak1", "Peak2",         "Peak3",          "RefMinWL",      "RefMaxWL",   "Zeros"};

DWORD ParityCode(const std::string& word) { return word == "odd" ? 1U : word == "even" ? 2U : 0U; }

void TakeSettings(const photometer::InstrumentSettings& settings, photometer::PhotometerParameters& params) {
  params.dA = settings.F3;
  params.dB = settings.F2;
  params.dC = settings.F1;
  params.dD = settings.F0;
  params.UpperFilterWL = static_cast<DWORD>(settings.UpperFilterWL);
  params.MiddleFilterWL = static_cast<DWORD>(settings.MiddleFilterWL);
  params.LowerFilterWL = static_cast<DWORD>(settings.LowerFilterWL);
  params.HalogenMin = static_cast<DWORD>(settings.HalogenMin);
  params.HalogenMax = static_cast<DWORD>(settings.HalogenMax);
  params.UVMin = static_cast<DWORD>(settings.UVMin);
  params.UVMax = static_cast<DWORD>(settings.UVMax);
}

void TakeSettings(const photometer::InstrumentSettings& settings, photometer::CalibrationData& calibration) {
  calibration.dReferencePeak = settings.Peak1;
  calibration.RefMinWL = settings.RefMinWL;
  calibration.RefMaxWL = settings.RefMaxWL;
  calibration.ZeroWavelengths.clear();
  for (const photometer::PointListEntry& entry : settings.Zeros) {
    calibration.ZeroWavelengths.push_back(entry.dWavelength);
  }
}

}  // namespace

InstrumentOptions::InstrumentOptions() {
  photometer::InstrumentSettings settings;
  photometer::SetDefaultSettings(&settings);
  Take(settings);
  m_Calibration.LampSwitchingPoint = DefaultSwitchingPoint;
  m_Params.dwBaudRate = 19200;
  m_Params.dwByteSize = 8;
  m_Params.PumpTime = 10;
  m_Params.PumpParam2 = 100;
  m_Params.DelayTime = 5;
  m_Params.dwUVSessionTime = 1800;
}

void InstrumentOptions::Take(const photometer::InstrumentSettings& settings) {
  TakeSettings(settings, m_Params);
  TakeSettings(settings, m_Calibration);
  m_peaks = {settings.Peak1, settings.Peak2, settings.Peak3};
  m_bUV = settings.UV != 0;
}

/// The parser calls options in the order in which they were added: the files before what goes before them.
void InstrumentOptions::AddFilesTo(CLI::App& app) {
  const auto loadHostFile = [this, &app](const std::string& path) {
    m_hostFile.Load(path);
    if (CLI::Option* pSettings = app.get_option("--settings"); pSettings->count() > 0) {
      pSettings->run_callback();
    }
    m_hostFile.ApplyTo(app, {Instrument, Pump}, "settings");
  };
  app.add_option_function<std::string>("--host-file", loadHostFile,
                                       "Values of the options of instrument, external port and pump, as pump-time = 10")
      ->type_name("FILE");
  app.add_option_function<std::string>(
         "--settings", [this](const std::string& path) { LoadSettings(path); },
         "The instrument's settings file, settings.cfg (default: the delivery values)")
      ->type_name("FILE")
      ->group(Instrument);
}

void InstrumentOptions::LoadSettings(const std::string& path) {
  auto loaded = SettingsFile::Load(path);
  if (const auto* pComplaint = std::get_if<std::string>(&loaded)) {
    throw CLI::ValidationError("--settings", *pComplaint);
  }
  m_settings = std::get<SettingsFile>(std::move(loaded));
  for (const char* key : UsedKeys) {
    const SettingsFinding* pFault = m_settings->LineOf(key) > 0 ? m_settings->Fault(key) : nullptr;
    if (pFault != nullptr) {
      throw CLI::ValidationError(m_settings->Message(*pFault));
    }
  }
  Take(m_settings->Settings());
}

std::vector<std::string> InstrumentOptions::Notes() const {
  std::string missing;
  for (const char* key : UsedKeys) {
    if (m_settings && m_settings->LineOf(key) == 0) {
      missing += std::string(missing.empty() ? "" : ", ") + key;
    }
  }
  if (missing.empty()) {
    return {};
  }
  return {fmt::format("{} has no {}: the delivery values serve instead, which are those of no instrument",
                      SettingsPath(), missing)};
}

void InstrumentOptions::AddTo(CLI::App& app) {
  AddFilesTo(app);
  app.add_flag("--uv,!--no-uv", m_bUV, "The instrument has the deuterium lamp (default), or has none")
      ->group(Instrument);
  app.add_option("--switching-point", m_strSwitchingPoint, "Below this wavelength, nm, the deuterium lamp serves")
      ->type_name(fmt::format("{}..{}", m_Params.HalogenMin, m_Params.UVMax))
      ->default_str(FormatReal(m_Calibration.LampSwitchingPoint));
  app.add_option("--zeros", m_strZeros, "Wavelengths of the zero measurement, nm (default: those of the settings)")
      ->type_name("LIST");
  AddIntegerOption(app, "--uv-session-time", m_Params.dwUVSessionTime, DWORD{0}, LongestTime,
                   "Idle time after which the deuterium lamp is switched off, s");
  AddIntegerOption(app, "--check-interval", m_Params.dwWavelengthCheckInterval, DWORD{0}, DWORD{525600},
                   "Interval between reminders of the wavelength check, minutes; 0: none");
  for (const char* name : {"--switching-point", "--zeros", "--uv-session-time", "--check-interval"}) {
    app.get_option(name)->group(Instrument);
  }
  AddIntegerOption(app, "--baud-rate", m_Params.dwBaudRate, DWORD{300}, DWORD{115200}, "External port: baud");
  AddIntegerOption(app, "--data-bits", m_Params.dwByteSize, DWORD{5}, DWORD{8}, "External port: data bits");
  app.add_option("--parity", m_strParity, "External port: parity")->check(CLI::IsMember({"none", "odd", "even"}));
  app.add_option("--pump", m_strPump,
                 "Sipper pump that draws the sample: zq410 on the external port, zq420 on its own; without one the "
                 "external port serves another device")
      ->check(CLI::IsMember(common::PumpNames()).description(""))
      ->type_name("none|zq410|zq420")
      ->default_str(m_strPump);
  AddIntegerOption(app, "--pump-time", m_Params.PumpTime, DWORD{0}, DWORD{999}, "Pump time, s");
  AddIntegerOption(app, "--pump-parameter", m_Params.PumpParam2, DWORD{0}, DWORD{999}, "Second pump parameter");
  AddIntegerOption(app, "--settling-time", m_Params.DelayTime, DWORD{0}, LongestTime, "Wait after pumping, s");
  for (const char* name :
       {"--baud-rate", "--data-bits", "--parity", "--pump", "--pump-time", "--pump-parameter", "--settling-time"}) {
    app.get_option(name)->group(Pump);
  }
}

void InstrumentOptions::Check() {
  m_Params.bUV = m_bUV ? photometer::TRUE : photometer::FALSE;
  m_Params.dwOperatingMode = static_cast<DWORD>(common::FindPump(m_strPump));
  m_Params.dwParity = ParityCode(m_strParity);
  CheckSwitchingPoint();
  CheckZeros();
}

void InstrumentOptions::CheckSwitchingPoint() {
  if (!m_strSwitchingPoint.empty()) {
    m_Calibration.LampSwitchingPoint = ParseReal(m_strSwitchingPoint).value_or(0);
  }
  const double dPoint = m_Calibration.LampSwitchingPoint;
  if (dPoint >= m_Params.HalogenMin && dPoint <= m_Params.UVMax) {
    return;
  }
  const std::string given = m_strSwitchingPoint.empty() ? FormatReal(dPoint) : m_strSwitchingPoint;
  m_hostFile.Complain("--switching-point", fmt::format("\"{}\" cannot be used; give a number from {} to {}", given,
                                                       m_Params.HalogenMin, m_Params.UVMax));
}

void InstrumentOptions::CheckZeros() {
  const DWORD dwLowest = m_Params.HalogenMin;
  const DWORD dwHighest = m_Params.HalogenMax;
  if (!m_strZeros.empty()) {
    const auto parsed = ParseWavelengths(m_strZeros);
    const auto* pComplaint = std::get_if<std::string>(&parsed);
    m_Calibration.ZeroWavelengths =
        pComplaint == nullptr ? std::get<std::vector<double>>(parsed) : std::vector<double>();
    const std::string complaint =
        pComplaint != nullptr ? *pComplaint : ComplainOutOfRange(m_Calibration.ZeroWavelengths, dwLowest, dwHighest);
    if (!complaint.empty()) {
      m_hostFile.Complain("--zeros", complaint);
    }
    return;
  }
  const std::string complaint = ComplainOutOfRange(m_Calibration.ZeroWavelengths, dwLowest, dwHighest);
  if (m_settings && !complaint.empty()) {
    throw CLI::ValidationError(
        m_settings->Message({m_settings->LineOf("Zeros"), "Zeros", complaint + ", or --zeros LIST", false}));
  }
}

void InstrumentOptions::ProposeZeros(const std::vector<double>& wavelengths) {
  if (m_strZeros.empty()) {
    m_Calibration.ZeroWavelengths = wavelengths;
  }
}

void InstrumentOptions::SetPumpParameters(DWORD dwPumpTime, DWORD dwPumpParam2) {
  m_Params.PumpTime = dwPumpTime;
  m_Params.PumpParam2 = dwPumpParam2;
}

void InstrumentOptions::AddZero(double dWavelength) {
  std::vector<double>& zeros = m_Calibration.ZeroWavelengths;
  if (m_strZeros.empty() && dWavelength >= SwitchingPoint() &&
      std::find(zeros.begin(), zeros.end(), dWavelength) == zeros.end()) {
    zeros.push_back(dWavelength);
  }
}

const char* InstrumentOptions::PumpText() const {
  switch (common::FindPump(m_strPump)) {
    case simulator::PumpKind::ZQ410:
      return "ZQ-410";
    case simulator::PumpKind::ZQ420:
      return "ZQ-420";
    case simulator::PumpKind::None:
      break;
  }
  return nullptr;
}

double InstrumentOptions::LowestWavelength() const { return m_Params.bUV != 0 ? m_Params.UVMin : m_Params.HalogenMin; }

double InstrumentOptions::HighestWavelength() const { return m_Params.HalogenMax; }

std::vector<double> WavelengthsOfOption(const std::string& option, const std::string& text, double dLowest,
                                        double dHighest) {
  const auto parsed = ParseWavelengths(text);
  if (const auto* pComplaint = std::get_if<std::string>(&parsed)) {
    throw CLI::ValidationError(option, *pComplaint);
  }
  const auto& wavelengths = std::get<std::vector<double>>(parsed);
  if (const std::string complaint = ComplainOutOfRange(wavelengths, dLowest, dHighest); !complaint.empty()) {
    throw CLI::ValidationError(option, complaint);
  }
  return wavelengths;
}

}  // namespace host
