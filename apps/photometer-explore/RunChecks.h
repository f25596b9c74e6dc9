/// What must hold for each start and each thread of the library: how it ends, what it reports and delivers.
#pragma once

#include "Property.h"

namespace explorer {

std::span<const Property> RunProperties();

/// A procedure with an end that the host hears of; not a start-up or a wavelength test, which tell theirs otherwise.
bool IsMeasurementOrTest(const ProcedureRun& run);

}  // namespace explorer
