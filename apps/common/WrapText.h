/// Help texts in lines that fit a terminal.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace common {

/// The text in lines of at most 100 columns, broken at blanks, each ended. All but the first begin with so many blanks.
std::string WrapText(std::string_view text, std::size_t nIndent = 0);

}  // namespace common
