/// The instrument as one thing: the optical unit, the cuvette holder, and what is attached to its two other ports. A
/// cuvette with a sample goes in and out by one call, and an attached sipper pump draws the sample into a flow cuvette.
#pragma once

#include "simulator/CuvetteHolder.h"
#include "simulator/EchoDevice.h"
#include "simulator/FlowCell.h"
#include "simulator/OpticalUnit.h"
#include "simulator/SipperZQ410.h"
#include "simulator/SipperZQ420.h"

namespace simulator {

/// The sipper pump that is attached. The other one has no power: it takes nothing in and says nothing.
enum class PumpKind { None, ZQ410, ZQ420 };

struct Instrument {
  /// Size of the flow cuvette, mm.
  static constexpr int FlowCuvetteSize = 10;

  /// `bounceMilliseconds`: how long the holder's switches chatter after a change.
  explicit Instrument(const OpticalUnitSettings& settings = {}, std::uint32_t bounceMilliseconds = 0,
                      PumpKind pump = PumpKind::None);
  Instrument(const Instrument&) = delete;
  Instrument& operator=(const Instrument&) = delete;

  /// Sizes as in `CuvetteHolder::Insert`. Each call replaces later changes.
  void InsertCuvette(int iSize, Sample sample, Time at);
  void RemoveCuvette(Time at);
  /// The flow cuvette, full of water, to be filled by the pump.
  void InsertFlowCuvette(Time at);

  /// What is attached to the port "COM1:": the pump ZQ-410, else a device that echoes.
  [[nodiscard]] SerialDevice& AtExternalPort();
  /// The line of the attached pump; null without one.
  [[nodiscard]] SipperLine* PumpLine();

  const PumpKind pump;
  OpticalUnit unit;
  CuvetteHolder holder;
  FlowCell flowCell;
  SipperZQ410 zq410;
  /// At the port "COM6:".
  SipperZQ420 zq420;
  EchoDevice echo;
};

}  // namespace simulator
