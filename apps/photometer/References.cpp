#include "References.h"

#include <cmath>

#include <CLI/CLI.hpp>
#include <fmt/format.h>

namespace host {

namespace {

// As near as a zero value must be to serve at a wavelength, nm.
constexpr double ZeroTolerance = 0.1;
// A spectrum begins and ends up to so far outside of the range that was asked for, nm.
constexpr double EdgeReach = 4.0;
// What is not above its dark value is delivered as 1 by a scan.
constexpr double NoLight = 1.0;

}  // namespace

void References::AddTo(CLI::App& app) {
  app.add_option(
         "--blank", m_strBlankFile,
         "Form absorbances against an earlier result (CSV or JSON), not against the zero values of the start-up")
      ->type_name("FILE");
}

void References::Check() {
  if (m_strBlankFile.empty()) {
    return;
  }
  auto loaded = Blank::Load(m_strBlankFile);
  if (const auto* pComplaint = std::get_if<std::string>(&loaded)) {
    throw CLI::ValidationError("--blank", *pComplaint);
  }
  m_blank = std::move(std::get<Blank>(loaded));
}

void References::CheckWavelengths(const std::vector<double>& wavelengths) const {
  for (const double dWavelength : wavelengths) {
    if (m_blank && !m_blank->At(dWavelength)) {
      throw CLI::ValidationError("--blank",
                                 fmt::format("{} has no readings at {} nm; measure the blank at the same wavelengths",
                                             m_blank->Path(), dWavelength));
    }
  }
}

void References::CheckSameRun(const std::string& kind,
                              const std::vector<std::pair<std::string, std::string>>& settings) const {
  if (m_blank && m_blank->Kind() != kind) {
    throw CLI::ValidationError(
        "--blank", fmt::format("{} is a result of \"{}\"; give one of \"{}\"", m_blank->Path(), m_blank->Kind(), kind));
  }
  for (const auto& [name, value] : settings) {
    if (m_blank && m_blank->Setting(name) != value) {
      throw CLI::ValidationError(
          "--blank", fmt::format("{} was measured with {} \"{}\", not \"{}\"; measure the blank with the same settings",
                                 m_blank->Path(), name, m_blank->Setting(name), value));
    }
  }
}

std::string References::Description() const {
  return m_blank ? fmt::format("blank {} of {}", m_blank->Path(), m_blank->Time()) : "zero values of the start-up";
}

void References::TakeZeros(photometer::IPhotometer& device, const InstrumentOptions& instrument) {
  if (m_blank) {
    return;
  }
  m_dLowest = instrument.SwitchingPoint() - ZeroTolerance;
  for (const double dWavelength : instrument.Calibration().ZeroWavelengths) {
    photometer::WavelengthCalibrationEntry entry{};
    if (device.GetWavelengthCalibration(dWavelength, &entry) == photometer::S_OK && entry.dValue > 0 &&
        entry.dValueRef > 0 && dWavelength >= instrument.SwitchingPoint()) {
      m_zeros[dWavelength] = {entry.dValue, entry.dValueRef};
    }
  }
}

std::optional<DetectorPair> References::At(double dWavelength) const {
  if (m_blank) {
    return m_blank->At(dWavelength);
  }
  const auto zero = m_zeros.upper_bound(dWavelength - ZeroTolerance);
  if (zero == m_zeros.end() || zero->first >= dWavelength + ZeroTolerance) {
    return std::nullopt;
  }
  return zero->second;
}

std::optional<DetectorPair> References::Between(double dWavelength) const {
  if (m_blank) {
    return m_blank->At(dWavelength);
  }
  if (m_zeros.empty() || dWavelength < m_dLowest) {
    return std::nullopt;
  }
  const auto above = m_zeros.lower_bound(dWavelength);
  if (above == m_zeros.end() || above == m_zeros.begin()) {
    const auto& [dNearest, nearest] = above == m_zeros.end() ? *m_zeros.rbegin() : *above;
    return std::abs(dWavelength - dNearest) <= EdgeReach ? std::optional(nearest) : std::nullopt;
  }
  const auto below = std::prev(above);
  const auto logarithm = [](const DetectorPair& pair) { return std::log(pair.dSample / pair.dReference); };
  const double dShare = (dWavelength - below->first) / (above->first - below->first);
  const double dRatio = std::exp((1 - dShare) * logarithm(below->second) + dShare * logarithm(above->second));
  const double dReference = (1 - dShare) * below->second.dReference + dShare * above->second.dReference;
  return DetectorPair{dRatio * dReference, dReference};
}

std::optional<double> AbsorbanceOf(const DetectorPair& value, const std::optional<DetectorPair>& reference) {
  if (!reference || !(value.dSample > NoLight && value.dReference > NoLight)) {
    return std::nullopt;
  }
  return Absorbance(value, *reference);
}

}  // namespace host
