/// One cycle of the pump ZQ-420: start command, pumping for a given time, stop command.
///
/// The pump's cancel event and the event of its lost port end every phase; the device's stop does too, and the pump is
/// then told to stop without waiting for its answer. A cycle that fails by a fault of the pump, or with its port, sends
/// no stop command.
#pragma once

#include <span>
#include <string>

#include "pumps/FrameReader.h"
#include "pumps/PumpExchange.h"
#include "state/Deadline.h"
#include "state/DeviceState.h"

namespace photometer {

inline constexpr DWORD ZQ420_SILENCE = 612;
inline constexpr DWORD ZQ420_CANCELLED = 613;
inline constexpr DWORD ZQ420_LOST = 614;
/// The pump's faults 3, 5 and 6. Fault 4 does not end a cycle.
inline constexpr DWORD ZQ420_FAULT_3 = 615;
inline constexpr DWORD ZQ420_FAULT_5 = 616;
inline constexpr DWORD ZQ420_FAULT_6 = 617;

class ZQ420Cycle {
 public:
  /// `dwSeconds` from the start command to the stop command. `hOwnCancel`: as for `PumpExchange`.
  ZQ420Cycle(DeviceState& state, PumpLine& line, DWORD dwSeconds, HANDLE hOwnCancel);

  /// 0, or one of 612 to 617. At its end the cycle is marked as done, for the timer to report. The cancel flag, which
  /// is a run's, takes the place of any other result of a cycle without a cancel of its own.
  DWORD Run();

 private:
  /// `Cancel`: also the device's stop.
  enum class Ending { Answered, Fault, TimeOut, Cancel, Lost };
  struct Meaning;

  DWORD Pump();
  /// The stop phase, after a result of the phases before.
  DWORD StopPump(DWORD dwResult);
  /// Waits until a frame, the time or an event ends the phase. Frames behind the one that ends it are kept.
  Ending Wait(std::span<const Meaning> meanings, const Deadline& deadline);
  /// The first of the collected frames that ends the phase. False: none does.
  bool TakeFrames(std::span<const Meaning> meanings, Ending* pEnding);
  void Send(const char* name, char command);
  DWORD Finish(DWORD dwResult);

  DeviceState& m_State;
  PumpLine& m_Line;
  PumpExchange m_Exchange;
  FrameReader m_Frames;
  std::uint64_t m_nPumpTime;
  /// Of the fault that ended a phase.
  DWORD m_dwFault = 0;
};

}  // namespace photometer
