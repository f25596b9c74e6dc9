/// The sipper pump ZQ-410 on the external port.
///
/// It announces itself: a banner at its switch-on, then a keep-alive frame "y;a" each period, which the host answers
/// "Y;a". Its other commands, with their letters for planned faults:
///
/// | Frame | Letter | Answer |
/// |---|---|---|
/// | `H;ttt;ppp` pump time, second parameter | H | `h;` |
/// | `V;a` version | V | `v;ZQ410;01.07` |
/// | `H1;a` cycle | 1 | `h1;b` after the pump time, at fault `Error` `h3;a` |
/// | `H2;a` flush | 2 | `h2;b` after the flush time, at fault `Error` `h3;a` |
///
/// A command that it does not know is ignored. No locks, no threads: one caller at a time.
#pragma once

#include <cstdint>
#include <string>

#include "simulator/FlowCell.h"
#include "simulator/SerialDevice.h"
#include "simulator/SipperLine.h"

namespace simulator {

struct SipperZQ410Settings {
  bool bPowered = true;
  /// Four digits with a separator.
  std::string version = "01.07";
  Time keepAlivePeriod = 1'000'000;
  /// The pump's own for each command, µs.
  Time answerTime = 5'000;
  Time flushTime = 5'000'000;
  /// Of a cycle, until the host sets it, s.
  std::uint32_t pumpTime = 5;
};

class SipperZQ410 final : public SerialDevice {
 public:
  explicit SipperZQ410(SipperZQ410Settings settings = {});

  void Receive(Time now, std::string_view bytes) override;
  [[nodiscard]] Time NextActivity() const override;
  std::string TakeOutput(Time now) override;

  // ---- the world around it ----

  /// What its cycles fill from the vessel, and its flushes with water; null: nothing. It must outlive the pump.
  void ConnectTo(FlowCell* pCell) { m_pCell = pCell; }
  /// Off: everything is forgotten, the pump stands, and nothing is said. On: banner, then keep-alives.
  void SwitchPower(Time now, bool bOn);
  /// The keep-alives stop after those until `at`, everything else works.
  void StopKeepAlive(Time at) { m_KeepAliveEnd = at; }
  /// A key of the pump. B runs a cycle that nobody asked for.
  void PressKeyA(Time at) { m_Line.SendFrame(at, "h1;a"); }
  void PressKeyB(Time at);
  [[nodiscard]] SipperLine& Line() { return m_Line; }

  // ---- for tests ----

  /// Keep-alives that the host has answered.
  [[nodiscard]] std::uint32_t AnsweredKeepAlives() const { return m_dwAnswered; }
  [[nodiscard]] std::uint32_t SentKeepAlives() const { return m_dwKeepAlives; }
  [[nodiscard]] std::uint32_t PumpTime() const { return m_dwPumpTime; }
  [[nodiscard]] std::uint32_t SecondParameter() const { return m_dwSecondParameter; }
  /// Cycles and flushes begun on the host's command.
  [[nodiscard]] std::uint32_t Cycles() const { return m_dwCycles; }
  [[nodiscard]] std::uint32_t Flushes() const { return m_dwFlushes; }

 private:
  struct Rule;

  void Accept(Time now, const std::string& text);
  void SetParameters(const std::string& text);
  [[nodiscard]] Time CycleTime() const;
  void SendKeepAlives(Time now);
  void Run(Time from, Time duration, FlowCell::Inlet inlet);

  SipperZQ410Settings m_Settings;
  SipperLine m_Line;
  FlowCell* m_pCell = nullptr;
  bool m_bPowered = false;
  Time m_NextKeepAlive = Never;
  Time m_KeepAliveEnd = Never;
  std::uint32_t m_dwPumpTime = 0;
  std::uint32_t m_dwSecondParameter = 0;
  std::uint32_t m_dwKeepAlives = 0;
  std::uint32_t m_dwAnswered = 0;
  std::uint32_t m_dwCycles = 0;
  std::uint32_t m_dwFlushes = 0;
};

}  // namespace simulator
