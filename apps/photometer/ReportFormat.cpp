#include "ReportFormat.h"

#include <algorithm>

#include <fmt/format.h>
#include <nlohmann/json.hpp>

namespace host {

namespace {

using nlohmann::ordered_json;

std::string Decimals(const std::optional<double>& value, int iDecimals) {
  return value ? fmt::format("{:.{}f}", *value, iDecimals) : std::string("-");
}

bool HasExpectations(const MeasureReport& report) {
  return std::any_of(report.wavelengths.begin(), report.wavelengths.end(),
                     [](const MeasuredWavelength& one) { return one.expected.has_value(); });
}

std::string TableLine(const MeasuredWavelength& one, bool bExpectations) {
  const DetectorPair mean = one.Mean();
  const std::optional<double> absorbance = one.MeanAbsorbance();
  std::string line = fmt::format("{:>8.2f} {:>9} {:>12.1f} {:>12.1f} {:>11}", one.dWavelength, one.dwPosition,
                                 mean.dSample, mean.dReference, Decimals(absorbance, 5));
  if (bExpectations && one.expected && absorbance) {
    line += fmt::format(" {:>9.5f} {:>11.5f} {:>9.5f}", one.expected->dAbsorbance,
                        *absorbance - one.expected->dAbsorbance, one.expected->dSigma);
  } else if (one.Spread()) {
    line += fmt::format(" {:>9}", Decimals(one.Spread(), 5));
  }
  return line + (one.strWhyNot.empty() ? "" : "  " + one.strWhyNot) + "\n";
}

std::string FormatTable(const MeasureReport& report) {
  const bool bExpectations = HasExpectations(report);
  std::string table =
      fmt::format("{:>8} {:>9} {:>12} {:>12} {:>11}", "nm", "position", "sample", "reference", "absorbance");
  table += bExpectations ? fmt::format(" {:>9} {:>11} {:>9}\n", "true", "difference", "noise")
                         : fmt::format(" {:>9}\n", "spread");
  for (const MeasuredWavelength& one : report.wavelengths) {
    table += TableLine(one, bExpectations);
  }
  if (const std::optional<double> deviation = report.LargestDeviation()) {
    table += fmt::format("Noise is one standard deviation; the largest difference is {:.1f} of them.\n", *deviation);
  }
  return table;
}

std::string FormatCsv(const ResultHeader& header, const MeasureReport& report) {
  std::string csv = CsvHeader(header) + "wavelength_nm,position,reading,sample,reference,absorbance,note\n";
  for (const MeasuredWavelength& one : report.wavelengths) {
    for (std::size_t i = 0; i < one.readings.size(); ++i) {
      const DetectorPair& reading = one.readings[i];
      csv += fmt::format("{},{},{},{:.3f},{:.3f},{},{}\n", one.dWavelength, one.dwPosition, i + 1, reading.dSample,
                         reading.dReference, one.zero ? fmt::format("{:.6f}", Absorbance(reading, *one.zero)) : "",
                         QuotedForCsv(one.strWhyNot));
    }
  }
  return csv;
}

ordered_json ToJson(const MeasuredWavelength& one) {
  ordered_json readings = ordered_json::array();
  for (const DetectorPair& reading : one.readings) {
    const auto absorbance = one.zero ? std::optional(Absorbance(reading, *one.zero)) : std::nullopt;
    readings.push_back(
        {{"sample", reading.dSample}, {"reference", reading.dReference}, {"absorbance", OrNull(absorbance)}});
  }
  ordered_json zero = nullptr;
  if (one.zero) {
    zero = {{"sample", one.zero->dSample}, {"reference", one.zero->dReference}};
  }
  ordered_json json = {{"wavelength", one.dWavelength},
                       {"position", one.dwPosition},
                       {"zero", zero},
                       {"absorbance", OrNull(one.MeanAbsorbance())},
                       {"spread", OrNull(one.Spread())},
                       {"note", one.strWhyNot},
                       {"readings", readings}};
  if (one.expected) {
    json["expected"] = one.expected->dAbsorbance;
    json["sigma"] = one.expected->dSigma;
  }
  return json;
}

std::string FormatJson(const ResultHeader& header, const MeasureReport& report) {
  ordered_json wavelengths = ordered_json::array();
  for (const MeasuredWavelength& one : report.wavelengths) {
    wavelengths.push_back(ToJson(one));
  }
  ordered_json json = JsonHeader(header);
  json["wavelengths"] = std::move(wavelengths);
  return JsonText(json);
}

}  // namespace

std::string FormatReport(const ResultHeader& header, const MeasureReport& report, OutputFormat format) {
  switch (format) {
    case OutputFormat::Csv:
      return FormatCsv(header, report);
    case OutputFormat::Json:
      return FormatJson(header, report);
    case OutputFormat::Table:
      break;
  }
  return FormatTable(report);
}

}  // namespace host
