/// What must hold after every run, whatever happened in it.
#pragma once

#include "Property.h"

namespace explorer {

const std::vector<Property>& Properties();

/// The properties that do not hold, those seen while the run was going on first.
std::vector<Violation> Judge(const Evidence& evidence);

}  // namespace explorer
