#include "simulator/Instrument.h"

#include <utility>

namespace simulator {

Instrument::Instrument(const OpticalUnitSettings& settings, std::uint32_t bounceMilliseconds, PumpKind attached)
    : pump(attached),
      unit(settings),
      holder({settings.seed, settings.bUV, bounceMilliseconds}),
      flowCell(unit),
      zq410({.bPowered = attached == PumpKind::ZQ410}),
      zq420({.bPowered = attached == PumpKind::ZQ420}) {
  zq410.ConnectTo(&flowCell);
  zq420.ConnectTo(&flowCell);
}

void Instrument::InsertCuvette(int iSize, Sample sample, Time at) {
  flowCell.Remove(at);
  holder.Insert(iSize, at);
  unit.SetSample(std::move(sample), at);
}

void Instrument::RemoveCuvette(Time at) {
  holder.Remove(at);
  flowCell.Remove(at);
}

void Instrument::InsertFlowCuvette(Time at) {
  holder.Insert(FlowCuvetteSize, at);
  flowCell.Insert(at);
}

SerialDevice& Instrument::AtExternalPort() {
  if (pump == PumpKind::ZQ410) return zq410;
  return echo;
}

SipperLine* Instrument::PumpLine() {
  if (pump == PumpKind::None) return nullptr;
  return pump == PumpKind::ZQ410 ? &zq410.Line() : &zq420.Line();
}

}  // namespace simulator
