/// What must hold for the optical unit: when it is told what, and what is off in the end.
#pragma once

#include "Property.h"

namespace explorer {

std::span<const Property> UnitProperties();

}  // namespace explorer
