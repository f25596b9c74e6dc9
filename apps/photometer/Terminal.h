/// The terminal that messages go to.
#pragma once

#include <cstddef>

namespace host {

/// Its width at this moment, characters; 0: unknown, or there is none.
std::size_t TerminalColumns();

}  // namespace host
