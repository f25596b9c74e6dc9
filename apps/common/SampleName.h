/// Names of simulated samples on a command line: "blank", "neutral:0.5", "yellow:1.2", "red", "blue", "mixture",
/// "reaction:0.8", "turbid:40".
#pragma once

#include <charconv>
#include <cmath>
#include <optional>
#include <string_view>

#include "simulator/Sample.h"

namespace common {

inline constexpr std::string_view SampleNames =
    "blank, neutral:A, yellow:A, red:A, blue:A, reaction:A (A: absorbance, 0 to 4), mixture, turbid:NTU";

/// Bands all over the range, with absorbances between 0.05 and 2 from 340 to 1000 nm.
inline simulator::Sample Mixture() {
  return simulator::Sample::Bands({{350.0, 1.1, 30.0},
                                   {430.0, 0.6, 35.0},
                                   {525.0, 1.7, 25.0},
                                   {620.0, 0.9, 40.0},
                                   {740.0, 0.3, 50.0},
                                   {880.0, 0.5, 60.0},
                                   {1000.0, 0.2, 50.0}});
}

/// Forms a band at 340 nm from `start` on; half of it is there after 30 s.
inline simulator::Sample Reaction(double dAbsorbance, simulator::Time start) {
  return simulator::Sample::Kinetics({340.0, dAbsorbance, 30.0}, 0.6931471805599453 / 30.0, start);
}

/// The sample of a name; nothing when there is none of that name, or its number is none, or out of range: absorbances
/// from 0 to 4, 1 without a number; turbidities from 0 to 4000 NTU. A reaction begins at `start`.
inline std::optional<simulator::Sample> FindSample(std::string_view name, simulator::Time start = 0) {
  const std::size_t nColon = name.find(':');
  const std::string_view kind = name.substr(0, nColon);
  const double dHighest = kind == "turbid" ? 4000.0 : 4.0;
  double dNumber = 1.0;
  if (nColon != std::string_view::npos) {
    const char* pEnd = name.data() + name.size();
    const auto [pStop, error] = std::from_chars(name.data() + nColon + 1, pEnd, dNumber);
    if (error != std::errc() || pStop != pEnd || !(dNumber >= 0.0 && dNumber <= dHighest)) {
      return std::nullopt;
    }
  }
  if (kind == "neutral") {
    return simulator::Sample::NeutralGlass(dNumber);
  }
  if (kind == "yellow" || kind == "red" || kind == "blue") {
    return simulator::Sample::Dye(kind, dNumber);
  }
  if (kind == "reaction") {
    return Reaction(dNumber, start);
  }
  if (kind == "turbid") {
    return simulator::Sample::Blank().WithTurbidity(dNumber);
  }
  if (nColon == std::string_view::npos && kind == "blank") {
    return simulator::Sample::Blank();
  }
  if (nColon == std::string_view::npos && kind == "mixture") {
    return Mixture();
  }
  return std::nullopt;
}

}  // namespace common
