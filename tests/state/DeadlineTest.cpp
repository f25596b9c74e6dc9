#include <gtest/gtest.h>

#include "platform/Platform.h"
#include "state/Deadline.h"
#include "support/World.h"

namespace photometer::tests {
namespace {

TEST(Deadline, RunsOutAlsoWhereTheTickCounterWraps) {
  for (const DWORD dwStartTick : {0U, 0xFFFFFFF0U}) {
    WorldOptions options;
    options.board.startTick = dwStartTick;
    const World world(options);
    const Deadline deadline(100);
    platform::Sleep(40);
    EXPECT_EQ(deadline.Rest(), 60U);
    platform::Sleep(100);
    EXPECT_EQ(deadline.Rest(), 0U);
    EXPECT_EQ(Deadline(std::uint64_t{1} << 32U).Rest(), 0x7FFFFFFFU) << "cut, not wrapped";
  }
}

}  // namespace
}  // namespace photometer::tests
