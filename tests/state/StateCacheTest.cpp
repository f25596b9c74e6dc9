#include <gtest/gtest.h>

#include "state/StateCache.h"

namespace photometer::tests {
namespace {

TEST(StateCache, KnowsNothingAtFirst) {
  const StateCache cache;
  for (std::size_t n = 0; n < CACHE_ENTRIES; ++n) {
    EXPECT_EQ(cache[static_cast<CacheEntry>(n)], UNKNOWN);
  }
  EXPECT_EQ(CACHE_ENTRIES, 14U);
}

TEST(StateCache, AnErrorLeavesPositionAndTurbidityChannel) {
  StateCache cache;
  for (std::size_t n = 0; n < CACHE_ENTRIES; ++n) {
    cache[static_cast<CacheEntry>(n)] = static_cast<LONG>(n);
  }
  cache.ForgetAfterError();
  int iKept = 0;
  for (std::size_t n = 0; n < CACHE_ENTRIES; ++n) {
    iKept += cache[static_cast<CacheEntry>(n)] == static_cast<LONG>(n) ? 1 : 0;
  }
  EXPECT_EQ(iKept, 3);
  EXPECT_NE(cache[CacheEntry::MonochromatorPosition], UNKNOWN);
  EXPECT_NE(cache[CacheEntry::TurbidityPower], UNKNOWN);
  EXPECT_NE(cache[CacheEntry::TurbidityGain], UNKNOWN);
}

}  // namespace
}  // namespace photometer::tests
