/// Paths as on the instrument: `\NANDFlash\Logging\Photometer.log`.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace photometer::platform {

/// The names between the backslashes, as the host writes them (UTF-8); none for the root `\` itself. Nothing for a
/// path that does not begin with a backslash or has a name that is empty, `.` or `..`, or that holds a character which
/// names on the instrument cannot have (`/`, `:`, `*`, `?`, `"`, `<`, `>`, `|` or a control character).
std::optional<std::vector<std::string>> SplitInstrumentPath(std::u16string_view path);

}  // namespace photometer::platform
