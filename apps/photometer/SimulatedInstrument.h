/// A whole simulated instrument on the virtual board: optical unit, cuvette holder, what is attached to the two other
/// ports, folders and lamp counters.
///
/// Everything runs on the thread that makes it.
#pragma once

#include <string>
#include <vector>

#include "BoardOptions.h"
#include "photometer/Records.h"
#include "platform/virtual/VirtualBoard.h"
#include "simulator/Instrument.h"

namespace host {

class SimulatedInstrument {
 public:
  /// The parameters are those that the device will be given: the model follows the same polynomial, and has the pump of
  /// their operating mode.
  SimulatedInstrument(const BoardOptions& options, const photometer::PhotometerParameters& params);

  photometer::platform::VirtualBoard& Board() { return m_board; }
  simulator::Instrument& Model() { return m_instrument; }
  /// µs.
  [[nodiscard]] simulator::Time Now() const { return m_board.Now(); }
  /// The defects that the options ask for appear now: an instrument that has them from the beginning does not start up.
  void BreakParts();
  /// A cuvette with the sample (as in SampleName.h) goes into the holder now, in the place of one that is there.
  void InsertSample(const std::string& sample);
  /// The flow cuvette goes into the holder, full of water, and the tube of its pump into the sample.
  void OfferSample(const std::string& sample);
  void RemoveSample() { m_instrument.RemoveCuvette(m_board.Now()); }
  /// Absorbance of the sample at the wavelength that comes through at a position of the monochromator. Positions are
  /// 0.08 nm apart, and the absorbance of a band's slope changes on the way to the nearest one.
  [[nodiscard]] double TrueAbsorbance(photometer::DWORD dwPosition) const;
  /// What broke the board's rules, and what is left on it after the device is gone.
  [[nodiscard]] std::vector<std::string> Faults() const;

 private:
  /// The sample, from now on.
  const simulator::Sample& MakeSample(const std::string& sample);

  std::vector<std::string> m_defects;
  std::vector<std::string> m_pumpFaults;
  simulator::Sample m_sample;
  simulator::Instrument m_instrument;
  photometer::platform::VirtualBoard m_board;
};

/// The folders that an instrument has for its logs, its card and its program.
void MakeInstrumentFolders(photometer::platform::VirtualBoard& board);

}  // namespace host
