/// A board on which everything is as a trace recorded it: the devices at the ports, pins, lamp counters, the calendar
/// and a person's requests to end. Time is virtual. It knows, too, when what was typed is due.
///
/// A run that leaves the trace is ended by requests of its own, as a person's: when the host sends other bytes than
/// then, when an incomplete trace is over, when the run goes on long after the trace's end, and when a person ends the
/// replay. Everything runs on the thread that makes it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "Interrupt.h"
#include "Trace.h"
#include "TraceHead.h"
#include "platform/Board.h"
#include "platform/Transcript.h"

namespace host {

class ReplayBoard final : public photometer::platform::Board {
 public:
  /// All must outlive it. `run` is what ends the run, `person` what ends the replay.
  ReplayBoard(const Trace& trace, const TraceHead& head, Interrupt& run, const Interrupt& person);
  ~ReplayBoard() override;

  photometer::platform::Kernel& GetKernel() override;
  photometer::platform::SerialPorts& GetSerialPorts() override;
  photometer::platform::Pins& GetPins() override;
  photometer::platform::Files& GetFiles() override;
  photometer::platform::Registry& GetRegistry() override;
  photometer::platform::DebugOutput& GetDebugOutput() override;

  /// What stands in this line of the trace, one of the program's own, is due.
  [[nodiscard]] bool IsDue(std::size_t nLine) const;
  /// Waits until it is. False: the replay has left its trace before, or has been ended.
  bool WaitFor(std::size_t nLine);

  /// What happens in the replay.
  photometer::platform::Transcript& Transcript();
  /// What broke the rules of the virtual board, and what is left on it after the device is gone.
  [[nodiscard]] std::vector<std::string> Faults() const;

 private:
  struct Parts;
  std::unique_ptr<Parts> m_pParts;
};

}  // namespace host
