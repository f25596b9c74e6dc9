/// A flow cuvette with the tube that a sipper pump draws through.
///
/// What hangs at the tube's far end reaches the cuvette when the pump has run for `TubeTime` since it was hung there,
/// in one cycle or in several; until then the cuvette keeps what it has. So a cycle that is too short, fails or is
/// stopped leaves the sample before. One caller at a time, with times that do not go back, but that a start or stop may
/// be told ahead of its time.
#pragma once

#include <cstdint>

#include "simulator/OpticalUnit.h"
#include "simulator/Sample.h"
#include "simulator/SerialDevice.h"

namespace simulator {

class FlowCell {
 public:
  /// What the pump draws from.
  enum class Inlet { Vessel, Water };

  /// How long the pump needs for the length of the tube, µs.
  static constexpr Time TubeTime = 2'000'000;

  /// The unit's beam is where the cuvette is inserted.
  explicit FlowCell(OpticalUnit& unit) : m_Unit(unit) {}

  /// The cuvette comes into the beam at a time, rinsed and full of water, or leaves it.
  void Insert(Time at);
  void Remove(Time at);
  /// The tube hangs in a vessel with this sample from now on.
  void Offer(Time now, Sample vessel);

  // ---- by the pump ----

  void Start(Time at, Inlet inlet);
  /// Harmless when nothing runs. A later call with an earlier time holds.
  void Stop(Time at);

 private:
  /// Takes into account what has been pumped until `at`.
  void Settle(Time at);
  void SetInlet(Inlet inlet);
  /// Plans the arrival of what is drawn from `from` on.
  void PlanArrival(Time from);
  void Show(const Sample& sample, Time from);
  [[nodiscard]] const Sample& Incoming() const { return m_Inlet == Inlet::Vessel ? m_Vessel : m_Water; }

  OpticalUnit& m_Unit;
  bool m_bInBeam = false;
  Sample m_Water;
  Sample m_Vessel;
  Sample m_Content;
  Inlet m_Inlet = Inlet::Vessel;
  /// Of `Incoming`, up to `m_Start`, µs.
  Time m_Drawn = 0;
  /// The run of the pump; `Never`: none, and none that was told to end.
  Time m_Start = Never;
  Time m_Stop = Never;
};

}  // namespace simulator
