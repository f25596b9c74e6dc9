/// An optical unit on the test bench: questions with their answers, and the steps that a host takes for a measurement.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "simulator/OpticalUnit.h"

namespace simulator {

struct Answer {
  std::string strBytes;
  Time delay = 0;  ///< from the command to the last byte, µs
};

/// Mean values of both channels, counts.
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
  /// Power on, and the monochromator at a wavelength, nm.
  void MoveTo(double wavelength);
  /// Light less dark reading, as for a measurement.
  Counts Measure();

  OpticalUnit unit;
  Time now = 0;

 private:
  /// One reading of three conversions, averaged.
  Counts Read();
};

}  // namespace simulator
