/// Steps of a procedure that stop at the first failure.
#pragma once

#include "photometer/Types.h"

namespace photometer {

/// Runs the steps in order up to the first whose result is not 0. That result, or 0.
template <class... Steps>
DWORD InOrder(Steps&&... steps) {
  DWORD dwResult = 0;
  ((dwResult == 0 ? static_cast<void>(dwResult = steps()) : static_cast<void>(0)), ...);
  return dwResult;
}

}  // namespace photometer
