#include "HostEvent.h"

namespace host {

std::optional<DWORD> CodeOf(const HostEvent& event) {
  const auto* pNotification = std::get_if<Notification>(&event);
  return pNotification == nullptr ? std::nullopt : std::optional(pNotification->dwCode);
}

}  // namespace host
