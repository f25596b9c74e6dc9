/// What absorbances refer to: a blank from a file, or else the zero values of the start-up.
#pragma once

#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "Blank.h"
#include "InstrumentOptions.h"
#include "photometer/IPhotometer.h"

namespace CLI {
class App;
}

namespace host {

class References {
 public:
  /// Adds `--blank`.
  void AddTo(CLI::App& app);
  /// Reads the blank. Throws `CLI::ValidationError`, as the two below.
  void Check();
  /// A blank must have each of the wavelengths.
  void CheckWavelengths(const std::vector<double>& wavelengths) const;
  /// A blank must be a result of the same kind with the same settings.
  void CheckSameRun(const std::string& kind, const std::vector<std::pair<std::string, std::string>>& settings) const;

  [[nodiscard]] bool HasBlank() const { return m_blank.has_value(); }
  /// For the results' header.
  [[nodiscard]] std::string Description() const;
  /// Takes the zero values of the start-up, if there is no blank.
  void TakeZeros(photometer::IPhotometer& device, const InstrumentOptions& instrument);

  /// At this very wavelength, or nothing.
  [[nodiscard]] std::optional<DetectorPair> At(double dWavelength) const;
  /// For every wavelength of a spectrum: without a blank, the ratio of the channels is taken as a straight line (in its
  /// logarithm) between neighbouring zero values, and as constant for a
  /// few nm beyond the last ones; elsewhere there is nothing.
  [[nodiscard]] std::optional<DetectorPair> Between(double dWavelength) const;

 private:
  std::string m_strBlankFile;
  std::optional<Blank> m_blank;
  /// By wavelength, nm.
  std::map<double, DetectorPair> m_zeros;
  /// Where the lamp of the zero values begins to serve, nm.
  double m_dLowest = 0;
};

/// The absorbance of a value; nothing without a reference, or when a channel saw no light.
std::optional<double> AbsorbanceOf(const DetectorPair& value, const std::optional<DetectorPair>& reference);

}  // namespace host
