/// The board's local time as text.
#pragma once

#include <string>

namespace host {

/// 2026-11-24T14:25:21
std::string LocalTimeText();

/// 2026-11-24T14:25:21.123
std::string LocalTimeTextWithMilliseconds();

}  // namespace host
