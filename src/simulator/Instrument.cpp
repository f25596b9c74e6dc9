#include "simulator/Instrument.h"

#include <utility>

namespace simulator {

void Instrument::InsertCuvette(int iSize, Sample sample, Time at) {
  holder.Insert(iSize, at);
  unit.SetSample(std::move(sample), at);
}

void Instrument::RemoveCuvette(Time at) {
  holder.Remove(at);
  unit.SetSample(Sample::Blank(), at);
}

}  // namespace simulator
