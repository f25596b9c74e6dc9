#include "platform/virtual/VirtualPins.h"

#include "platform/Sanitizers.h"

namespace photometer::platform {

VirtualPins::VirtualPins(Scheduler& scheduler, VirtualClock& clock, RuleChecks& checks)
    : m_scheduler(scheduler), m_clock(clock), m_checks(checks) {}

std::optional<DWORD> VirtualPins::Output(DWORD dwPort, DWORD dwPin) const {
  const auto found = m_outputs.find({dwPort, dwPin});
  return found == m_outputs.end() ? std::nullopt : std::optional(found->second);
}

std::vector<std::string> VirtualPins::Leftovers() const {
  return std::vector<std::string>(m_handles.size(), "pins, handle open");
}

HANDLE VirtualPins::OpenHandle() {
  const UnobservedScope scope;
  m_scheduler.Point("GpioOpenHandle");
  if (m_pSource == nullptr) {
    return INVALID_HANDLE_VALUE;
  }
  return *m_handles.insert(NewHandle(HandleKind::Pins)).first;
}

bool VirtualPins::IsOpen(HANDLE handle) {
  if (!m_handles.contains(handle)) {
    m_checks.BadHandle(m_scheduler.Current(), handle);
    return false;
  }
  return m_pSource != nullptr;
}

bool VirtualPins::SetupPin(HANDLE handle, DWORD /*dwPort*/, DWORD /*dwPin*/, DWORD /*dwMode*/) {
  const UnobservedScope scope;
  m_scheduler.Point("GpioSetupPin");
  return IsOpen(handle);
}

bool VirtualPins::SetOutput(HANDLE handle, DWORD dwPort, DWORD dwPin, DWORD dwLevel) {
  const UnobservedScope scope;
  m_scheduler.Point("GpioSetOutput");
  if (!IsOpen(handle)) {
    return false;
  }
  m_outputs[{dwPort, dwPin}] = dwLevel;
  return true;
}

DWORD VirtualPins::GetInput(HANDLE handle, DWORD /*dwPort*/, DWORD dwPin) {
  const UnobservedScope scope;
  m_scheduler.Point("GpioGetInput");
  return IsOpen(handle) ? m_pSource->ReadPin(m_clock.Now(), dwPin) : UnreadablePin;
}

bool VirtualPins::CloseHandle(HANDLE handle) {
  const UnobservedScope scope;
  const VirtualThread& thread = m_scheduler.Point("GpioCloseHandle");
  if (m_handles.erase(handle) == 0) {
    m_checks.BadHandle(thread, handle);
    return false;
  }
  m_checks.HandleClosed(thread, handle, "pins");
  return true;
}

}  // namespace photometer::platform
