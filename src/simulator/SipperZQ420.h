/// The sipper pump ZQ-420 on its own port. It speaks when it is asked, and once at its switch-on ("p"). Its commands
/// are single letters, which are also their letters for planned faults:
///
/// | Frame | Answer |
/// |---|---|
/// | `p` ping | `p` |
/// | `d` data | `d;A12;B3;1.04` |
/// | `t` running time | `t;days;hours;minutes;seconds` |
/// | `s` start | `s`; at fault `Error` `s;f;N`, and it runs all the same for N = 4 |
/// | `e` stop | `e` |
///
/// `FailPumping` lets it report a fault in the middle of pumping. A command that it does not know is ignored. No locks,
/// no threads: one caller at a time.
#pragma once

#include <cstdint>
#include <string>

#include "simulator/FlowCell.h"
#include "simulator/SerialDevice.h"
#include "simulator/SipperLine.h"

namespace simulator {

struct SipperZQ420Settings {
  bool bPowered = true;
  /// The fields of the data answer.
  std::string data1 = "A12";
  std::string data2 = "B3";
  std::string version = "1.04";
  /// Running time before the switch-on, s.
  std::uint64_t runTime = 0;
  /// The pump's own for each command, µs.
  Time answerTime = 5'000;
};

class SipperZQ420 final : public SerialDevice {
 public:
  explicit SipperZQ420(SipperZQ420Settings settings = {});

  void Receive(Time now, std::string_view bytes) override;
  [[nodiscard]] Time NextActivity() const override { return m_Line.NextActivity(); }
  std::string TakeOutput(Time now) override;

  // ---- the world around it ----

  /// What it fills from the vessel while it runs; null: nothing. It must outlive the pump.
  void ConnectTo(FlowCell* pCell) { m_pCell = pCell; }
  /// Off: everything is forgotten, the pump stands, and nothing is said.
  void SwitchPower(Time now, bool bOn);
  /// From now on each start is followed by the fault `p;f;N`, `delay` after it; 3, 5 and 6 end the pumping. 0: none.
  void FailPumping(int iFault, Time delay);
  [[nodiscard]] SipperLine& Line() { return m_Line; }

  // ---- for tests ----

  [[nodiscard]] bool IsPumping() const { return m_Start != Never; }
  [[nodiscard]] std::uint32_t Cycles() const { return m_dwCycles; }
  /// Running time up to the last stop, s.
  [[nodiscard]] std::uint64_t RunTime() const { return m_RunTime / MicrosecondsPerSecond; }

 private:
  static constexpr Time MicrosecondsPerSecond = 1'000'000;

  /// The answer to a command; empty: none.
  std::string Execute(Time now, const std::string& text, const AnswerShaper& shaper);
  std::string Start(Time now, const Fault* pFault);
  void Stop(Time now);
  void StopAtFault(Time now);
  [[nodiscard]] std::string RunTimeText() const;

  SipperZQ420Settings m_Settings;
  SipperLine m_Line;
  FlowCell* m_pCell = nullptr;
  bool m_bPowered = false;
  Time m_Start = Never;
  Time m_RunTime;
  int m_iPumpingFault = 0;
  /// When a fault ends the pumping that runs.
  Time m_FaultEnd = Never;
  Time m_PumpingFaultDelay = 0;
  std::uint32_t m_dwCycles = 0;
};

}  // namespace simulator
