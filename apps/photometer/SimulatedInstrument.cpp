#include "SimulatedInstrument.h"

#include "../common/FaultText.h"
#include "../common/SampleName.h"
#include "DefectName.h"
#include "LampCounters.h"

namespace host {

namespace {

constexpr int CuvetteSize = 10;
constexpr std::uint32_t BounceMilliseconds = 8;
// Its lamps are not new: 412.5 h and 96.25 h.
constexpr photometer::DWORD HalogenSeconds = 1'485'000;
constexpr photometer::DWORD DeuteriumSeconds = 346'500;

simulator::OpticalUnitSettings UnitSettings(const BoardOptions& options,
                                            const photometer::PhotometerParameters& params) {
  simulator::OpticalUnitSettings settings;
  settings.seed = options.seed;
  settings.bUV = params.bUV != 0;
  settings.polynomial = {params.dA, params.dB, params.dC, params.dD};
  settings.positionOffset = options.positionOffset;
  settings.strayLight = options.strayLight;
  return settings;
}

photometer::platform::VirtualBoardOptions BoardSettings(const BoardOptions& options) {
  photometer::platform::VirtualBoardOptions settings;
  settings.seed = options.seed;
  settings.pace = options.pace;
  return settings;
}

}  // namespace

void MakeInstrumentFolders(photometer::platform::VirtualBoard& board) {
  for (const char16_t* folder : {u"\\NANDFlash\\Logging", u"\\SDMemory", u"\\Application"}) {
    board.MakeFolder(folder);
  }
}

SimulatedInstrument::SimulatedInstrument(const BoardOptions& options, const photometer::PhotometerParameters& params)
    : m_defects(options.defects),
      m_pumpFaults(options.pumpFaults),
      m_instrument(UnitSettings(options, params), BounceMilliseconds,
                   static_cast<simulator::PumpKind>(params.dwOperatingMode)),
      m_board(BoardSettings(options)) {
  m_board.PlugPort(u"COM2:", m_instrument.unit, true);
  m_board.PlugPort(u"COM1:", m_instrument.AtExternalPort());
  m_board.PlugPort(u"COM6:", m_instrument.zq420);
  m_board.PlugPins(&m_instrument.holder);
  MakeInstrumentFolders(m_board);
  m_board.SetRegistryValue(LampCounterKey, HalogenCounter, HalogenSeconds);
  m_board.SetRegistryValue(LampCounterKey, DeuteriumCounter, DeuteriumSeconds);
}

void SimulatedInstrument::BreakParts() {
  simulator::InstrumentFaults faults = m_instrument.unit.Settings().faults;
  for (const std::string& defect : m_defects) {
    AddDefect(defect, faults);
  }
  m_instrument.unit.SetFaults(faults);
  for (const std::string& fault : m_pumpFaults) {
    common::AddPumpFault(fault, m_instrument, m_board.Now());
  }
}

const simulator::Sample& SimulatedInstrument::MakeSample(const std::string& sample) {
  // A reaction begins when the sample is made.
  m_sample = common::FindSample(sample, m_board.Now()).value_or(simulator::Sample::Blank());
  return m_sample;
}

void SimulatedInstrument::InsertSample(const std::string& sample) {
  m_instrument.InsertCuvette(CuvetteSize, MakeSample(sample), m_board.Now());
}

void SimulatedInstrument::OfferSample(const std::string& sample) {
  m_instrument.InsertFlowCuvette(m_board.Now());
  m_instrument.flowCell.Offer(m_board.Now(), MakeSample(sample));
}

double SimulatedInstrument::TrueAbsorbance(photometer::DWORD dwPosition) const {
  const simulator::OpticalUnitSettings& settings = m_instrument.unit.Settings();
  const double dWavelength = settings.polynomial.At(static_cast<double>(dwPosition) - settings.positionOffset);
  return m_sample.TrueAbsorbance(dWavelength, m_board.Now());
}

std::vector<std::string> SimulatedInstrument::Faults() const {
  std::vector<std::string> faults = m_board.Reports();
  for (const std::string& leftover : m_board.Leftovers()) {
    faults.push_back("left after the device was given back: " + leftover);
  }
  return faults;
}

}  // namespace host
