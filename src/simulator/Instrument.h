/// The instrument as one thing: the optical unit and the cuvette holder, so that a cuvette with a sample goes in and
/// out by one call.
#pragma once

#include "simulator/CuvetteHolder.h"
#include "simulator/OpticalUnit.h"

namespace simulator {

struct Instrument {
  /// `bounceMilliseconds`: how long the holder's switches chatter after a change.
  explicit Instrument(const OpticalUnitSettings& settings = {}, std::uint32_t bounceMilliseconds = 0)
      : unit(settings), holder({settings.seed, settings.bUV, bounceMilliseconds}) {}

  /// Sizes as in `CuvetteHolder::Insert`. Each call replaces later changes.
  void InsertCuvette(int iSize, Sample sample, Time at);
  void RemoveCuvette(Time at);

  OpticalUnit unit;
  CuvetteHolder holder;
};

}  // namespace simulator
