/// The virtual board's pins: inputs come from the switches plugged in, outputs are remembered.
#pragma once

#include <map>
#include <optional>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "platform/Board.h"
#include "platform/virtual/RuleChecks.h"
#include "platform/virtual/Scheduler.h"
#include "platform/virtual/VirtualClock.h"
#include "simulator/SerialDevice.h"

namespace photometer::platform {

class VirtualPins final : public Pins {
 public:
  VirtualPins(Scheduler& scheduler, VirtualClock& clock, RuleChecks& checks);

  /// Null takes them away.
  void Plug(simulator::PinSource* pSource) { m_pSource = pSource; }
  /// The level that an output was set to last.
  [[nodiscard]] std::optional<DWORD> Output(DWORD dwPort, DWORD dwPin) const;
  [[nodiscard]] std::vector<std::string> Leftovers() const;

  HANDLE OpenHandle() override;
  bool SetupPin(HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwMode) override;
  bool SetOutput(HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwLevel) override;
  DWORD GetInput(HANDLE handle, DWORD dwPort, DWORD dwPin) override;
  bool CloseHandle(HANDLE handle) override;

 private:
  bool IsOpen(HANDLE handle);

  Scheduler& m_scheduler;
  VirtualClock& m_clock;
  RuleChecks& m_checks;
  simulator::PinSource* m_pSource = nullptr;
  std::set<HANDLE> m_handles;
  std::map<std::pair<DWORD, DWORD>, DWORD> m_outputs;
};

}  // namespace photometer::platform
