/// An optical unit on the test bench: questions with their answers, and the steps that a host takes for a measurement.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/OpticalUnit.h"

namespace simulator {

struct Answer {
  std::string strBytes;
  Time delay = 0;  ///< from the command to the last byte, µs
};

/// Dark-corrected mean values of both channels, counts.
struct Counts {
  double sample = 0.0;
  double reference = 0.0;
};

class Bench {
 public:
  explicit Bench(const OpticalUnitSettings& settings = {}) : unit(settings) {}

  /// Sends bytes and waits until the unit has nothing more to say.
  Answer Ask(std::string_view bytes);
  /// Sends several commands, each with "$" and carriage return added, and drops the answers.
  void Set(const std::vector<std::string>& commands);
  /// Dark and light reading, as for a measurement.
  Counts Measure();
  /// One reading of three conversions, averaged.
  Counts Read();
  /// A stream from the present position to `iLast`: one value per reading.
  std::vector<Counts> Scan(int iLast);
  /// Optics for a measurement at a wavelength with the halogen lamp on an instrument with UV path.
  void PrepareHalogen(double wavelength);

  OpticalUnit unit;
  Time now = 0;
};

/// The position whose wavelength by the unit's polynomial, rounded to 0.01 nm, is nearest.
int TablePosition(double wavelength);
double Absorbance(const Counts& sample, const Counts& blank);

}  // namespace simulator
