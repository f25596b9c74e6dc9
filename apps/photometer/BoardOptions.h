/// Which board a command runs on, and what it writes down of the run.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace CLI {
class App;
}

namespace host {

struct BoardOptions {
  /// A simulated instrument on the virtual board, else the real ports of the board file.
  bool bSimulate = false;
  /// Empty: `FilePath` tells which.
  std::string boardFile;
  /// Host path of the transcript; empty: none.
  std::string traceFile;
  /// A transcript that is there already is replaced.
  bool bForce = false;
  /// The command whose options these are, for the head of the transcript; null before `AddTo`.
  const CLI::App* pApp = nullptr;

  // ---- the simulated instrument ----

  std::uint64_t seed = 1;
  /// How many times faster than real; 0: as fast as it goes.
  double pace = 0;
  /// As in SampleName.h.
  std::string sample = "mixture";
  /// Steps by which the monochromator is out of place.
  int positionOffset = 0;
  /// Share of the light that passes beside the sample.
  double strayLight = 1e-4;

  /// What breaks after the start-up, as in DefectName.h.
  std::vector<std::string> defects;
  /// Faults of the attached pump from then on, as in FaultText.h.
  std::vector<std::string> pumpFaults;

  void AddTo(CLI::App& app);
  /// Only the sample.
  void AddSampleTo(CLI::App& app);
  /// The board file that counts: the option's, else that of PHOTOMETER_BOARD, else /etc/photometer/board.toml.
  [[nodiscard]] std::string FilePath() const;
  /// Throws `CLI::ValidationError` for options that do not go together or name nothing.
  void Check() const;
  /// The same for the faults of a pump of this operating mode.
  void CheckPumpFaults(std::uint32_t dwOperatingMode) const;
};

}  // namespace host
