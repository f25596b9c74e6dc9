/// What must hold for cancels: asked for, heard, and heard soon.
#pragma once

#include "Property.h"

namespace explorer {

std::span<const Property> CancelProperties();

}  // namespace explorer
