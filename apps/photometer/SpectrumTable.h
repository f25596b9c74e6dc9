/// A spectrum: points with wavelength and detector values, and the absorbances formed from them.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "Plot.h"
#include "References.h"
#include "ResultTable.h"
#include "photometer/Records.h"

namespace host {

struct SpectrumPoint {
  /// nm
  double dWavelength = 0;
  /// Steps.
  DWORD dwPosition = 0;
  DetectorPair value;
  std::optional<double> absorbance;
};

struct Spectrum {
  std::vector<SpectrumPoint> points;

  void Add(const photometer::MeasureValue& value);
  void FormAbsorbances(const References& references);
  [[nodiscard]] std::size_t CountAbsorbances() const;
  /// The point with the highest absorbance; null without any.
  [[nodiscard]] const SpectrumPoint* Highest() const;
};

/// Columns wavelength_nm, position, sample, reference, absorbance.
ResultTable ToTable(const ResultHeader& header, const Spectrum& spectrum);

/// Absorbance over wavelength; without absorbances, the ratio of the channels.
Plot ToPlot(const Spectrum& spectrum, const std::string& subtitle);

}  // namespace host
