/// Bytes of the instrument's files for people.
#pragma once

#include <string>
#include <string_view>

namespace host {

/// Windows-1252 as UTF-8, with control characters as "\\x02".
std::string Readable(std::string_view bytes);

/// The same for a message: a long text is cut.
std::string Shown(std::string_view bytes);

}  // namespace host
