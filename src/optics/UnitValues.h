/// The values with which the procedures set the optical unit.
#pragma once

#include "photometer/Types.h"

namespace photometer {

/// Positions of the mirror.
inline constexpr DWORD PARKED = 0;
inline constexpr DWORD HALOGEN_PATH = 1;
inline constexpr DWORD DEUTERIUM_PATH = 2;

/// Positions of the filter wheel: nothing in the light path, and the holmium oxide filter.
inline constexpr DWORD OPEN_POSITION = 0;
constexpr DWORD HolmiumPosition(bool bUV) { return bUV ? 6 : 5; }

/// Speed of the monochromator for moves.
inline constexpr DWORD MOVE_SPEED = 50;

/// Speeds of the converter for single readings, and for streams.
inline constexpr DWORD READING_AD_SPEED = 9;
inline constexpr DWORD SCAN_AD_SPEED = 5;

}  // namespace photometer
