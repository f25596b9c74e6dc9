/// What the settings of a serial line mean, for every board alike.
#pragma once

#include "platform/Types.h"

namespace photometer::platform {

/// False: no board has such a setting (another length, rate 0, byte size outside 5 to 8, another parity code or stop
/// bit code).
[[nodiscard]] bool IsPossible(const DCB& state);
/// Bits of a character on the line, with its start, parity and stop bits.
[[nodiscard]] DWORD BitsPerCharacter(const DCB& state);

}  // namespace photometer::platform
