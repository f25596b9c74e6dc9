#include "SpectrumTable.h"

#include <algorithm>

#include <fmt/format.h>

namespace host {

void Spectrum::Add(const photometer::MeasureValue& value) {
  points.push_back({value.dWavelength, value.dwPosition, {value.dValue, value.dValueRef}, std::nullopt});
}

void Spectrum::FormAbsorbances(const References& references) {
  for (SpectrumPoint& point : points) {
    point.absorbance = AbsorbanceOf(point.value, references.Between(point.dWavelength));
  }
}

std::size_t Spectrum::CountAbsorbances() const {
  return static_cast<std::size_t>(std::count_if(
      points.begin(), points.end(), [](const SpectrumPoint& point) { return point.absorbance.has_value(); }));
}

const SpectrumPoint* Spectrum::Highest() const {
  // Nothing is less than every number.
  const auto highest = std::max_element(
      points.begin(), points.end(),
      [](const SpectrumPoint& one, const SpectrumPoint& other) { return one.absorbance < other.absorbance; });
  return highest == points.end() || !highest->absorbance ? nullptr : &*highest;
}

ResultTable ToTable(const ResultHeader& header, const Spectrum& spectrum) {
  ResultTable table{header,
                    {{"wavelength_nm", "nm", 2},
                     {"position", "position", 0},
                     {"sample", "sample", 3},
                     {"reference", "reference", 3},
                     {"absorbance", "absorbance", 6}},
                    {},
                    {}};
  for (const SpectrumPoint& point : spectrum.points) {
    table.rows.push_back({point.dWavelength, static_cast<double>(point.dwPosition), point.value.dSample,
                          point.value.dReference,
                          point.absorbance ? ResultCell(*point.absorbance) : ResultCell(std::monostate())});
  }
  const std::size_t nMissing = spectrum.points.size() - spectrum.CountAbsorbances();
  if (const SpectrumPoint* pHighest = spectrum.Highest()) {
    table.notes.push_back(
        fmt::format("Highest absorbance: {:.4f} at {:.2f} nm.", *pHighest->absorbance, pHighest->dWavelength));
  }
  if (nMissing > 0) {
    table.notes.push_back(fmt::format("{} of {} points have no absorbance: no zero value or blank there, or no light.",
                                      nMissing, spectrum.points.size()));
  }
  return table;
}

Plot ToPlot(const Spectrum& spectrum, const std::string& subtitle) {
  const bool bAbsorbances = spectrum.CountAbsorbances() > 0;
  Plot plot;
  plot.strTitle = "Spectrum";
  plot.strSubtitle = subtitle;
  plot.strAxisX = "wavelength / nm";
  plot.strAxisY = bAbsorbances ? "absorbance" : "sample / reference (no blank)";
  plot.strCurve = bAbsorbances ? "absorbance" : "sample / reference";
  for (const SpectrumPoint& point : spectrum.points) {
    if (bAbsorbances && point.absorbance) {
      plot.points.push_back({point.dWavelength, *point.absorbance});
    } else if (!bAbsorbances) {
      plot.points.push_back({point.dWavelength, point.value.dSample / point.value.dReference});
    }
  }
  return plot;
}

}  // namespace host
