/// The call sites of the layer's functions that can fail, found by reading sources, to compare with those reached.
///
/// Plain calls only: the library calls these functions by their names. Comments, texts and member calls of the same
/// name are passed over.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "platform/virtual/FailingCalls.h"

namespace photometer::platform {

/// Calls in one source, in order. The line is that of the function's name.
std::vector<SiteName> CallSitesIn(std::string_view text, const std::string& file);

/// The same for every source and header below `src/` of this folder, but for the layer, the boards and the simulator.
/// Empty: there are no sources.
std::vector<SiteName> CallSitesBelow(const std::string& sourceFolder);

/// Those of `all` that are not among the reached.
std::vector<SiteName> NeverReached(const std::vector<SiteName>& all, const std::vector<ReachedSite>& reached);

}  // namespace photometer::platform
