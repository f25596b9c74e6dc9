#include "platform/virtual/FirstComePolicy.h"

namespace photometer::platform {

namespace {

constexpr unsigned MostCallsInARow = 1000;

}  // namespace

std::size_t FirstComePolicy::AtPoint(const VirtualThread& /*running*/, std::span<VirtualThread* const> /*ready*/) {
  if (++m_nCalls < MostCallsInARow) {
    return GoOn;
  }
  m_nCalls = 0;
  return 0;
}

std::size_t FirstComePolicy::AtWait(const VirtualThread& /*running*/, std::span<VirtualThread* const> /*ready*/) {
  m_nCalls = 0;
  return 0;
}

std::size_t FirstComePolicy::ChooseWaiter(const VirtualThread& /*running*/,
                                          std::span<VirtualThread* const> /*waiters*/) {
  return 0;
}

}  // namespace photometer::platform
