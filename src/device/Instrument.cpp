#include "device/Instrument.h"

namespace photometer {

std::shared_ptr<Instrument> Instrument::Create() {
  auto pInstrument = std::make_shared<Instrument>();
  pInstrument->threads.SetOwner(pInstrument);
  return pInstrument;
}

}  // namespace photometer
