#include <set>

#include <gtest/gtest.h>

#include "platform/Board.h"

namespace photometer::platform {
namespace {

TEST(Handles, NeverRepeatAndTellTheirKind) {
  std::set<HANDLE> all = {0, INVALID_HANDLE_VALUE};
  for (int i = 0; i < 10'000; ++i) {
    for (const HandleKind kind :
         {HandleKind::Kernel, HandleKind::SerialPort, HandleKind::Pins, HandleKind::RegistryKey}) {
      const HANDLE handle = NewHandle(kind);
      EXPECT_TRUE(all.insert(handle).second);
      EXPECT_EQ(KindOf(handle), kind);
    }
  }
}

}  // namespace
}  // namespace photometer::platform
