/// The optical unit at its serial line: lamps, filter wheel, mirror, shutter, monochromator, detectors and the
/// turbidity channel, driven by commands "$<letter><argument>\r".
///
/// Commands are carried out one after another in the order in which they arrive; each is answered when its motion or
/// pause is over: "ok\r\n", "error\r\n" for one that the unit does not know or whose argument is out of range, or data.
/// Two things do not wait their turn: the commands "$r0", "$d0", "$h0" and "$f0" take effect as soon as they have
/// arrived (their answers keep their place), and any complete command ends a running stream at once, without its
/// remaining readings and trailing bytes; the monochromator then stands where it was.
///
/// Model state is that of the last moment the unit was called with. No locks, no threads: one caller at a time.
#pragma once

#include <cstdint>
#include <deque>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/AnswerShaper.h"
#include "simulator/ByteFlood.h"
#include "simulator/CommandParser.h"
#include "simulator/Detector.h"
#include "simulator/FaultPlan.h"
#include "simulator/LightPath.h"
#include "simulator/LinePacer.h"
#include "simulator/Monochromator.h"
#include "simulator/OpticalUnitSettings.h"
#include "simulator/Random.h"
#include "simulator/Sample.h"
#include "simulator/SerialDevice.h"
#include "simulator/TurbidityChannel.h"

namespace simulator {

struct OpticalUnitState {
  bool bOptoPower = false;
  bool bShutterClosed = false;
  bool bHighGain = false;
  bool bDeuterium = false;
  bool bMotorReleased = false;
  bool bTurbidityHighGain = false;
  int halogen = 0;  ///< 0 off, 1 on, 2 high power
  int filter = 0;
  int mirror = 0;
  int fan = 0;
  int position = 0;
  int speed = 0;
  int adSpeed = 0;
  int measurementLength = 0;
  int turbidityPower = 0;

  bool operator==(const OpticalUnitState&) const = default;
};

struct ReceivedCommand {
  Time time;
  /// Without the carriage return.
  std::string strText;
};

class OpticalUnit final : public SerialDevice {
 public:
  explicit OpticalUnit(OpticalUnitSettings settings = {});

  void Receive(Time now, std::string_view bytes) override;
  [[nodiscard]] Time NextActivity() const override;
  std::string TakeOutput(Time now) override;

  // ---- the world around it ----

  /// Puts a sample into the beam, from `from` on; `Sample::Blank()` for none. Replaces later changes.
  void SetSample(Sample sample, Time from = 0);
  /// Breaks or mends parts, at once.
  void SetFaults(const InstrumentFaults& faults);
  /// Off: everything is forgotten, and nothing is answered. On: as after the switch-on.
  void SwitchPower(Time now, bool bOn);
  /// Faults of the line; may be changed at any time.
  FaultPlan& WireFaults() { return m_WireFaults; }
  /// Bytes that nobody asked for, from `at` on.
  void EmitUnasked(std::string bytes, Time at);
  /// Bytes without end: see `ByteFlood`.
  ByteFlood& Flood() { return m_Flood; }

  // ---- for tests ----

  [[nodiscard]] OpticalUnitState State() const;
  [[nodiscard]] const OpticalUnitSettings& Settings() const { return m_Settings; }
  [[nodiscard]] const std::vector<ReceivedCommand>& Commands() const { return m_Received; }
  void ForgetCommands() { m_Received.clear(); }
  /// Nothing is carried out and nothing waits.
  [[nodiscard]] bool IsIdle() const { return !m_Action && m_Queue.empty(); }
  /// More of an answer than its line end has yet to leave the unit.
  [[nodiscard]] bool IsAnswering() const { return m_Pacer.HoldsOtherThan("\r\n"); }
  /// The absorbance of the present sample as this instrument must find it, stray light included.
  [[nodiscard]] double ApparentAbsorbance(double wavelength, Time now) const;

 private:
  struct Pending {
    Command command;
    AnswerShaper shaper;
  };
  /// What is being carried out.
  struct Action {
    Pending work;
    Time due = 0;  ///< end, or the next reading of a stream
    bool bStream = false;
    bool bStopsShort = false;
    int iStreamEnd = 0;  ///< position behind the last
    std::uint64_t nPointsLeft = 0;
    std::uint64_t nSurplusLeft = 0;
  };
  struct Rule;

  static const Rule* FindRule(char letter);
  [[nodiscard]] bool Accepts(const Command& command) const;

  void Accept(Time now, Command command);
  void SwitchOffAtOnce(Time now, const Command& command);
  void Advance(Time now);
  [[nodiscard]] Time NextEvent() const;
  void StartNext(Time at);
  void StartStream(Time at);
  void StreamPoint(Time at);
  void EndStream(Time at);
  void Complete(Time at);
  void SendPending(Time now);

  // Duration of a command from its start, and its effect and answer at its end.
  [[nodiscard]] Time DurationOf(const Command& command) const;
  [[nodiscard]] Time MotionTime(char letter, int iArgument) const;
  std::string Execute(Time at, const Command& command);
  void MoveTo(int iPosition);
  void GoHome(Time at);
  std::string ReadData(Time at, const Command& command);
  void AppendReading(std::string& bytes, Time at);

  [[nodiscard]] bool HighGain() const { return m_Settings.faults.stuckGain.value_or(m_bHighGain); }
  [[nodiscard]] Time ConversionTime() const;
  [[nodiscard]] Time PointTime() const;
  const Sample& SampleAt(Time at);
  void Send(Time at, AnswerShaper& shaper, std::string_view bytes);
  void Schedule(Time at, const std::vector<AnswerShaper::Piece>& pieces);
  void ResetState(Time now);

  OpticalUnitSettings m_Settings;
  bool m_bPowered;

  // The line.
  LinePacer m_Pacer;
  CommandParser m_Parser;
  FaultPlan m_WireFaults;
  ByteFlood m_Flood;
  std::multimap<Time, std::string> m_Scheduled;
  std::deque<Pending> m_Queue;
  std::optional<Action> m_Action;
  std::vector<ReceivedCommand> m_Received;

  // The parts.
  LightPath m_LightPath;
  Monochromator m_Monochromator;
  Detector m_SampleDetector;
  Detector m_ReferenceDetector;
  TurbidityChannel m_Turbidity;
  Sample m_Sample;
  std::deque<std::pair<Time, Sample>> m_Samples;

  // Settings of the unit that no part keeps.
  bool m_bOptoPower = false;
  bool m_bHighGain = false;
  bool m_bMotorReleased = false;
  int m_iFan = 0;
  int m_iADSpeed = 9;
  int m_iMeasurementLength = 1;
};

}  // namespace simulator
