#include "state/StateCache.h"

namespace photometer {

void StateCache::ForgetAfterError() {
  const StateCache before = *this;
  ForgetAll();
  for (const CacheEntry kept :
       {CacheEntry::MonochromatorPosition, CacheEntry::TurbidityPower, CacheEntry::TurbidityGain}) {
    (*this)[kept] = before[kept];
  }
}

}  // namespace photometer
