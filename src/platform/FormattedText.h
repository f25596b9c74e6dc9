/// printf into a string, with the arguments as a list. Reals have a decimal point whatever locale the process has.
#pragma once

#include <cstdarg>
#include <cstddef>
#include <string>

namespace photometer::platform {

/// At most `nLimit` bytes of text; what is longer is cut there.
std::string FormatTextList(std::size_t nLimit, const char* format, std::va_list arguments)
    __attribute__((format(printf, 2, 0)));

}  // namespace photometer::platform
