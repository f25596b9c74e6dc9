/// The lamp-hour counters in the board's registry: how long each lamp has burnt, in timer ticks of about one second.
#pragma once

#include "photometer/Types.h"

namespace photometer {

inline constexpr const char16_t* HALOGEN_HOURS = u"HalLamp";
inline constexpr const char16_t* DEUTERIUM_HOURS = u"UVLamp";

/// Adds to a counter. 0; E_FAIL when there is no such key or value, or it cannot be written: the count is lost then,
/// and nothing is created. The registry takes its time: no lock should be held.
HRESULT AddLampSeconds(const char16_t* name, DWORD dwCount);

}  // namespace photometer
