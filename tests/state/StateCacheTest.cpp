#include <utility>

#include <gtest/gtest.h>

#include "state/StateCache.h"

namespace photometer::tests {
namespace {

TEST(StateCache, AnErrorLeavesPositionAndTurbidityChannel) {
  StateCache cache;
  for (std::size_t n = 0; n < CACHE_ENTRIES; ++n) {
    EXPECT_EQ(std::exchange(cache[static_cast<CacheEntry>(n)], 4), UNKNOWN) << n;
  }
  cache.ForgetAfterError();
  for (std::size_t n = 0; n < CACHE_ENTRIES; ++n) {
    const auto entry = static_cast<CacheEntry>(n);
    const bool bKept = entry == CacheEntry::MonochromatorPosition || entry == CacheEntry::TurbidityPower ||
                       entry == CacheEntry::TurbidityGain;
    EXPECT_EQ(cache[entry], bKept ? 4 : UNKNOWN) << n;
  }
}

}  // namespace
}  // namespace photometer::tests
