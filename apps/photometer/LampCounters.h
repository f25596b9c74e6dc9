/// The lamp counters in a board's registry, s.
#pragma once

namespace host {

inline constexpr const char16_t* LampCounterKey = u"\\Veltranometrik";
inline constexpr const char16_t* HalogenCounter = u"HalLamp";
inline constexpr const char16_t* DeuteriumCounter = u"UVLamp";

}  // namespace host
